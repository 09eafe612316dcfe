// The two little machines that the opcodes are for. An address is checked when it is used: opcodes
// may lead it anywhere in between.
#include "workbench/macho/fixups.h"

namespace workbench::macho {
namespace {

constexpr std::uint64_t pointerSize = 8;

// The state that both kinds of opcodes share: where the next pointer lies, and how many there were.
class PointerCursor {
  public:
    explicit PointerCursor(const File& file)
        : file_(file), pointersLeft_(file.size / pointerSize) {}

    void SetSegment(std::uint8_t index, std::uint64_t offset) {
        if (index >= file_.segments.size()) throw MachOError("it fixes an unknown segment");
        segment_ = &file_.segments[index];
        offset_ = offset;
    }

    // Wraps as the format has it: offsets are moved backwards by great numbers.
    void Move(std::uint64_t distance) { offset_ += distance; }

    // The address of the pointer here; moves behind it.
    std::uint64_t Take() {
        if (segment_ == nullptr || segment_->contents.size() < pointerSize ||
            offset_ > segment_->contents.size() - pointerSize) {
            throw MachOError("it fixes a pointer outside the contents of its segments");
        }
        // Few opcodes can ask for any number of pointers.
        if (pointersLeft_ == 0) throw MachOError("it fixes more pointers than it has room for");
        --pointersLeft_;
        const std::uint64_t address = segment_->address + offset_;
        offset_ += pointerSize;
        return address;
    }

  private:
    const File& file_;
    const Segment* segment_ = nullptr;
    std::uint64_t offset_ = 0;
    std::uint64_t pointersLeft_;
};

constexpr std::uint8_t OperandOf(std::uint8_t byte) {
    return byte & 0x0FU;
}

void RequirePointers(std::uint8_t type) {
    if (type != typePointer) throw MachOError("it fixes something else than pointers");
}

// Whether opcodes end at the first Done, or have one behind each pointer.
enum class End { AtDone, AtEndOfBytes };

class BindMachine {
  public:
    BindMachine(const File& file, Bytes opcodes, End end)
        : file_(file), reader_(opcodes), end_(end), cursor_(file) {}

    std::vector<Binding> Run() {
        while (!reader_.IsAtEnd()) {
            const std::uint8_t byte = reader_.Byte();
            if (!Step(static_cast<BindOpcode>(byte & 0xF0U), OperandOf(byte))) break;
        }
        return std::move(bindings_);
    }

  private:
    // False at the end.
    bool Step(BindOpcode opcode, std::uint8_t operand) {
        switch (opcode) {
            case BindOpcode::Done:
                return end_ == End::AtEndOfBytes;
            case BindOpcode::SetLibrary:
                SetLibrary(operand);
                break;
            case BindOpcode::SetLibraryLong:
                SetLibrary(reader_.Unsigned());
                break;
            case BindOpcode::SetLibrarySpecial:
                // The image itself, the program, or whoever defines the symbol.
                next_.libraryOrdinal = 0;
                break;
            case BindOpcode::SetSymbol:
                next_.symbol = reader_.Text();
                next_.isWeak = (operand & symbolIsWeakImport) != 0;
                break;
            case BindOpcode::SetType:
                RequirePointers(operand);
                break;
            case BindOpcode::SetAddend:
                next_.addend = reader_.Signed();
                break;
            case BindOpcode::SetSegmentAndOffset:
                cursor_.SetSegment(operand, reader_.Unsigned());
                break;
            case BindOpcode::AddAddress:
                cursor_.Move(reader_.Unsigned());
                break;
            case BindOpcode::Bind:
                Bind();
                break;
            case BindOpcode::BindAddAddress:
                Bind();
                cursor_.Move(reader_.Unsigned());
                break;
            case BindOpcode::BindAddAddressScaled:
                Bind();
                cursor_.Move(operand * pointerSize);
                break;
            case BindOpcode::BindTimesSkipping:
                BindTimesSkipping();
                break;
            default:
                throw MachOError("it binds by an unknown opcode");
        }
        return true;
    }

    void SetLibrary(std::uint64_t ordinal) {
        if (ordinal < 1 || ordinal > file_.libraries.size()) {
            throw MachOError("it binds to a library that it does not name");
        }
        next_.libraryOrdinal = ordinal;
    }

    void Bind() {
        if (next_.symbol.empty()) throw MachOError("it binds to a symbol without a name");
        next_.address = cursor_.Take();
        bindings_.push_back(next_);
    }

    void BindTimesSkipping() {
        const std::uint64_t count = reader_.Unsigned();
        const std::uint64_t skipped = reader_.Unsigned();
        for (std::uint64_t i = 0; i < count; ++i) {
            Bind();
            cursor_.Move(skipped);
        }
    }

    const File& file_;
    ByteReader reader_;
    End end_;
    PointerCursor cursor_;
    Binding next_{};
    std::vector<Binding> bindings_;
};

class RebaseMachine {
  public:
    explicit RebaseMachine(const File& file) : reader_(file.rebaseOpcodes), cursor_(file) {}

    std::vector<std::uint64_t> Run() {
        while (!reader_.IsAtEnd()) {
            const std::uint8_t byte = reader_.Byte();
            if (!Step(static_cast<RebaseOpcode>(byte & 0xF0U), OperandOf(byte))) break;
        }
        return std::move(pointers_);
    }

  private:
    // False at the end.
    bool Step(RebaseOpcode opcode, std::uint8_t operand) {
        switch (opcode) {
            case RebaseOpcode::Done:
                return false;
            case RebaseOpcode::SetType:
                RequirePointers(operand);
                break;
            case RebaseOpcode::SetSegmentAndOffset:
                cursor_.SetSegment(operand, reader_.Unsigned());
                break;
            case RebaseOpcode::AddAddress:
                cursor_.Move(reader_.Unsigned());
                break;
            case RebaseOpcode::AddAddressScaled:
                cursor_.Move(operand * pointerSize);
                break;
            case RebaseOpcode::RebaseTimes:
                Rebase(operand, 0);
                break;
            case RebaseOpcode::RebaseManyTimes:
                Rebase(reader_.Unsigned(), 0);
                break;
            case RebaseOpcode::RebaseAddAddress:
                Rebase(1, reader_.Unsigned());
                break;
            case RebaseOpcode::RebaseTimesSkipping: {
                const std::uint64_t count = reader_.Unsigned();
                Rebase(count, reader_.Unsigned());
                break;
            }
            default:
                throw MachOError("it is rebased by an unknown opcode");
        }
        return true;
    }

    void Rebase(std::uint64_t count, std::uint64_t skipped) {
        for (std::uint64_t i = 0; i < count; ++i) {
            pointers_.push_back(cursor_.Take());
            cursor_.Move(skipped);
        }
    }

    ByteReader reader_;
    PointerCursor cursor_;
    std::vector<std::uint64_t> pointers_;
};

}  // namespace

std::vector<std::uint64_t> RebasedPointers(const File& file) {
    return RebaseMachine(file).Run();
}

std::vector<Binding> Bindings(const File& file) {
    return BindMachine(file, file.bindOpcodes, End::AtDone).Run();
}

std::vector<Binding> LazyBindings(const File& file) {
    return BindMachine(file, file.lazyBindOpcodes, End::AtEndOfBytes).Run();
}

std::vector<Binding> WeakBindings(const File& file) {
    return BindMachine(file, file.weakBindOpcodes, End::AtDone).Run();
}

}  // namespace workbench::macho
