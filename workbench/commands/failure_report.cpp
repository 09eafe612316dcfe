// The one place that knows which exception means which exit status.
#include "workbench/commands/failure_report.h"

#include <new>

namespace workbench {

Failure Describe(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const Interrupted& interrupted) {
        constexpr int firstOfSignals = 128;
        return {static_cast<ExitStatus>(firstOfSignals + interrupted.signal), "interrupted"};
    } catch (const RaisedError& error) {
        return {ExitStatus::HostException, error.what()};
    } catch (const std::bad_alloc&) {
        return {ExitStatus::BadInput, "there is not enough memory"};
    } catch (const std::exception& error) {
        return {ExitStatus::BadInput, error.what()};
    } catch (...) {
        return {ExitStatus::BadInput, "the plugin threw something that is no exception"};
    }
}

}  // namespace workbench
