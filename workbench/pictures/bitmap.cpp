// Bitmap contexts and the table in which the platform's queries find them.
// The table is of the process, because those queries are functions without a host.
#include "workbench/pictures/bitmap.h"

#include <unordered_map>
#include <utility>

#include "workbench/host/handle_range.h"

namespace workbench {

namespace {

std::unordered_map<const void*, Bitmap*>& Contexts() {
    static std::unordered_map<const void*, Bitmap*> contexts;
    return contexts;
}

}  // namespace

Bitmap::Bitmap(const Picture& owner, int width, int height, int layout,
               std::shared_ptr<PixelMemory> memory, int column, int row)
    : PixelStore(width, height, layout),
      owner_(owner),
      memory_(std::move(memory)),
      column_(column),
      row_(row),
      handle_(NewHandleAddress()) {
    context_.data = Row(0);
    context_.width = static_cast<std::size_t>(width);
    context_.height = static_cast<std::size_t>(height);
    context_.bytesPerRow = memory_->BytesPerRow();
    context_.alphaInfo = static_cast<std::uint32_t>(layout);
    Contexts().emplace(handle_, this);
}

Bitmap::~Bitmap() {
    Contexts().erase(handle_);
}

Bitmap* Bitmap::Find(const void* context) {
    const auto found = Contexts().find(context);
    return found == Contexts().end() ? nullptr : found->second;
}

std::uint32_t* Bitmap::Row(int y) const {
    std::byte* row = memory_->Row(static_cast<std::size_t>(row_) + static_cast<std::size_t>(y));
    return reinterpret_cast<std::uint32_t*>(row) + column_;
}

}  // namespace workbench
