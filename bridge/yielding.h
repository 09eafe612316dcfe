// Giving time back to the host during long work. The outer loops of all five methods call it at
// their yield points; it calls the host only when the caller's interval has passed.
#pragma once

#include <cstdint>

namespace zvk {

// How often to yield, and when that last happened.
struct YieldData {
    // The caller's yield argument as given: 0 never yields, a positive number is an interval in
    // ticks of 1/60 second, a negative one an interval in milliseconds.
    std::int64_t interval;

    // Time of the last yield in the unit that the interval's sign selects; 0 at method entry.
    std::int64_t last;

    // Calls the host if the time since the last yield is not below the interval. To be called only
    // when the interval is not 0. An exception that the host throws passes through.
    void DoYield();

    // A yield point: `DoYield` unless the interval is 0.
    void Point() {
        if (interval != 0) DoYield();
    }
};

// The record of the two scale methods, whose scaling routines take no yield argument.
// Deliberate: it is process-wide, so a scale method that the host calls from inside a yield
// overwrites it for the outer call too.
extern YieldData yield;

}  // namespace zvk
