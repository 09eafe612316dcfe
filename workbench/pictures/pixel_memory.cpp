// The three kinds of pixel memory: one block, separate rows, and pages under guard.
// Called when pictures are made; never touches bytes behind a row after that.
#include "workbench/pictures/pixel_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace workbench {

namespace {

struct Freer {
    void operator()(std::byte* memory) const { std::free(memory); }
};
using HeapBytes = std::unique_ptr<std::byte, Freer>;

HeapBytes ZeroedBytes(std::size_t count) {
    // The C allocator leaves the pages of a large block untouched until they are written.
    HeapBytes bytes(static_cast<std::byte*>(std::calloc(count, 1)));
    if (bytes == nullptr) throw std::bad_alloc();
    return bytes;
}

/// A product of sizes with room for some pages beside it; throws std::bad_alloc where it cannot be
/// expressed.
std::size_t Times(std::size_t left, std::size_t right) {
    if (right != 0 && left > std::numeric_limits<std::size_t>::max() / 4 / right) {
        throw std::bad_alloc();
    }
    return left * right;
}

// The pattern changes from byte to byte, so that a shifted copy of it is noticed too.
std::byte PatternAt(std::size_t offset) {
    return static_cast<std::byte>(0xA5U ^ (offset * 7U));
}

void WritePattern(std::byte* begin, const std::byte* end) {
    for (std::size_t offset = 0; begin + offset != end; ++offset)
        begin[offset] = PatternAt(offset);
}

bool HasPattern(const std::byte* begin, const std::byte* end) {
    for (std::size_t offset = 0; begin + offset != end; ++offset) {
        if (begin[offset] != PatternAt(offset)) return false;
    }
    return true;
}

class BlockOnHeap final : public PixelMemory {
  public:
    explicit BlockOnHeap(const MemoryShape& shape)
        : shape_(shape), bytes_(ZeroedBytes(Times(BytesPerRow(), shape.height))) {
        for (std::size_t y = 0; y < shape_.height; ++y)
            WritePattern(RowEnd(y), RowEnd(y) + shape_.padding);
    }

    std::byte* Row(std::size_t y) const override { return bytes_.get() + y * BytesPerRow(); }
    std::size_t BytesPerRow() const override { return shape_.rowBytes + shape_.padding; }
    bool PaddingIsIntact() const override {
        for (std::size_t y = 0; y < shape_.height; ++y) {
            if (!HasPattern(RowEnd(y), RowEnd(y) + shape_.padding)) return false;
        }
        return true;
    }

  private:
    std::byte* RowEnd(std::size_t y) const { return Row(y) + shape_.rowBytes; }

    MemoryShape shape_;
    HeapBytes bytes_;
};

class RowsOnHeap final : public PixelMemory {
  public:
    explicit RowsOnHeap(const MemoryShape& shape) {
        rows_.reserve(shape.height);
        for (std::size_t y = 0; y < shape.height; ++y)
            rows_.push_back(ZeroedBytes(shape.rowBytes));
    }

    std::byte* Row(std::size_t y) const override { return rows_[y].get(); }
    std::size_t BytesPerRow() const override { return 0; }
    bool PaddingIsIntact() const override { return true; }

  private:
    std::vector<HeapBytes> rows_;
};

/// Address space of whole pages, inaccessible at first.
class Pages {
  public:
    explicit Pages(std::size_t bytes) : bytes_(bytes) {
        void* address = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (address == MAP_FAILED) throw std::bad_alloc();
        address_ = static_cast<std::byte*>(address);
    }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;
    ~Pages() { munmap(address_, bytes_); }

    std::byte* Address() const { return address_; }

    void Open(std::size_t offset, std::size_t bytes) {
        if (mprotect(address_ + offset, bytes, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    }

  private:
    std::byte* address_ = nullptr;
    std::size_t bytes_;
};

/// Pieces of equal size, each ending against an inaccessible page and preceded by another. A piece
/// is a row, or all rows with their padding.
class GuardedPixels final : public PixelMemory {
  public:
    explicit GuardedPixels(const MemoryShape& shape)
        : shape_(shape),
          perRow_(shape.padding == 0 && shape.height <= mostRowsGuarded),
          pieces_(perRow_ ? shape.height : 1),
          pieceBytes_(perRow_ ? shape.rowBytes
                              : Times(shape.rowBytes + shape.padding, shape.height)),
          openBytes_((pieceBytes_ + PageBytes() - 1) / PageBytes() * PageBytes()),
          pages_(Times(openBytes_ + PageBytes(), pieces_) + PageBytes()) {
        for (std::size_t piece = 0; piece < pieces_; ++piece) {
            pages_.Open(OpenOffset(piece), openBytes_);
            WritePattern(Opened(piece), Piece(piece));
        }
        for (std::size_t y = 0; y < shape_.height; ++y)
            WritePattern(RowEnd(y), RowEnd(y) + shape_.padding);
    }

    std::byte* Row(std::size_t y) const override {
        return perRow_ ? Piece(y) : Piece(0) + y * BytesPerRow();
    }

    std::size_t BytesPerRow() const override {
        return perRow_ ? openBytes_ + PageBytes() : shape_.rowBytes + shape_.padding;
    }

    bool PaddingIsIntact() const override {
        for (std::size_t piece = 0; piece < pieces_; ++piece) {
            if (!HasPattern(Opened(piece), Piece(piece))) return false;
        }
        for (std::size_t y = 0; y < shape_.height; ++y) {
            if (!HasPattern(RowEnd(y), RowEnd(y) + shape_.padding)) return false;
        }
        return true;
    }

  private:
    // The system allows a process some tens of thousands of mappings; a row takes two.
    static constexpr std::size_t mostRowsGuarded = 8192;

    static std::size_t PageBytes() {
        static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        return bytes;
    }

    std::size_t OpenOffset(std::size_t piece) const {
        return PageBytes() + piece * (openBytes_ + PageBytes());
    }
    std::byte* Opened(std::size_t piece) const { return pages_.Address() + OpenOffset(piece); }
    std::byte* Piece(std::size_t piece) const { return Opened(piece) + openBytes_ - pieceBytes_; }
    std::byte* RowEnd(std::size_t y) const { return Row(y) + shape_.rowBytes; }

    MemoryShape shape_;
    bool perRow_;
    std::size_t pieces_;
    std::size_t pieceBytes_;
    std::size_t openBytes_;
    Pages pages_;
};

}  // namespace

std::shared_ptr<PixelMemory> MakePixelMemory(const MemoryShape& shape) {
    if (shape.guarded) return std::make_shared<GuardedPixels>(shape);
    if (shape.separateRows) return std::make_shared<RowsOnHeap>(shape);
    return std::make_shared<BlockOnHeap>(shape);
}

}  // namespace workbench
