// The opcodes that say which pointers are to be fixed, one by one.
#include "workbench/macho/fixups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/workbench/macho_maker.h"

namespace workbench::macho {

bool operator==(const Binding& left, const Binding& right) {
    return left.address == right.address && left.symbol == right.symbol &&
           left.libraryOrdinal == right.libraryOrdinal && left.addend == right.addend &&
           left.isWeak == right.isWeak;
}

std::ostream& operator<<(std::ostream& stream, const Binding& binding) {
    return stream << binding.symbol << " + " << binding.addend << " of " << binding.libraryOrdinal
                  << (binding.isWeak ? " weakly" : "") << " at " << binding.address;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t sizeOfData = 16 * 8;
constexpr const char* outside = "it fixes a pointer outside the contents of its segments";
constexpr const char* tooMany = "it fixes more pointers than it has room for";

// A file with room for 16 pointers at dataAddress and with three libraries.
class MachOFixups : public testing::Test {
  protected:
    MachOFixups() {
        file_.segments = {{.name = "__TEXT",
                           .address = 0,
                           .size = pageSize,
                           .contents = {},
                           .protection = protectionRead},
                          {.name = "__DATA",
                           .address = dataAddress,
                           .size = pageSize,
                           .contents = data_,
                           .protection = protectionRead | protectionWrite}};
        file_.libraries = {"first", "second", "third"};
        file_.size = 2 * sizeOfData;
    }

    std::vector<std::uint64_t> Rebased(const MadeBytes& opcodes) {
        file_.rebaseOpcodes = opcodes;
        return RebasedPointers(file_);
    }

    // As offsets in the data.
    std::vector<std::uint64_t> RebasedFromData(const MadeBytes& opcodes) {
        std::vector<std::uint64_t> offsets = Rebased(
            Joined({Op(RebaseOpcode::SetType, typePointer),
                    Op(RebaseOpcode::SetSegmentAndOffset, dataSegment), Unsigned(0), opcodes}));
        for (std::uint64_t& offset : offsets)
            offset -= dataAddress;
        return offsets;
    }

    // The strings of the bindings lie in opcodes_.
    std::vector<Binding> Bound(const MadeBytes& opcodes) {
        opcodes_ = opcodes;
        file_.bindOpcodes = opcodes_;
        return Bindings(file_);
    }

    // Binds _s of the first library from the start of the data.
    std::vector<std::uint64_t> BoundFromData(const MadeBytes& opcodes) {
        std::vector<std::uint64_t> offsets;
        for (const Binding& binding : Bound(
                 Joined({Op(BindOpcode::SetType, typePointer), Op(BindOpcode::SetLibrary, 1),
                         Op(BindOpcode::SetSymbol), Text("_s"),
                         Op(BindOpcode::SetSegmentAndOffset, dataSegment), Unsigned(0), opcodes})))
            offsets.push_back(binding.address - dataAddress);
        return offsets;
    }

    static std::string ErrorOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const MachOError& error) {
            return error.what();
        }
        return "no error";
    }
    std::string RebaseError(const MadeBytes& opcodes) {
        return ErrorOf([&] { RebasedFromData(opcodes); });
    }
    std::string BindError(const MadeBytes& opcodes) {
        return ErrorOf([&] { BoundFromData(opcodes); });
    }

    MadeBytes data_ = MadeBytes(sizeOfData);
    MadeBytes opcodes_;
    File file_{};
};

constexpr std::uint64_t back(std::uint64_t distance) {
    return ~distance + 1;
}

TEST_F(MachOFixups, NoOpcodesFixNothing) {
    EXPECT_THAT(Rebased({}), IsEmpty());
    EXPECT_THAT(Rebased(Op(RebaseOpcode::Done)), IsEmpty());
    EXPECT_THAT(Bound({}), IsEmpty());
    EXPECT_THAT(Bound(Op(BindOpcode::Done)), IsEmpty());
}

TEST_F(MachOFixups, RebaseTimes) {
    EXPECT_THAT(RebasedFromData(Op(RebaseOpcode::RebaseTimes, 3)), ElementsAre(0, 8, 16));
    EXPECT_THAT(RebasedFromData(Op(RebaseOpcode::RebaseTimes, 0)), IsEmpty());
    EXPECT_EQ(RebasedFromData(Joined({Op(RebaseOpcode::RebaseManyTimes), Unsigned(16)})).size(),
              16U);
    EXPECT_THAT(
        RebasedFromData(Joined({Op(RebaseOpcode::RebaseTimesSkipping), Unsigned(3), Unsigned(8)})),
        ElementsAre(0, 16, 32));
}

TEST_F(MachOFixups, RebaseAtOtherPlaces) {
    const MadeBytes once = Op(RebaseOpcode::RebaseTimes, 1);
    EXPECT_THAT(RebasedFromData(Joined({Op(RebaseOpcode::AddAddress), Unsigned(20), once, once})),
                ElementsAre(20, 28));
    EXPECT_THAT(RebasedFromData(Joined({once, Op(RebaseOpcode::AddAddressScaled, 3), once})),
                ElementsAre(0, 32));
    EXPECT_THAT(RebasedFromData(Joined({Op(RebaseOpcode::RebaseAddAddress), Unsigned(24), once})),
                ElementsAre(0, 32));
    EXPECT_THAT(RebasedFromData(Joined({Op(RebaseOpcode::RebaseTimes, 2),
                                        Op(RebaseOpcode::AddAddress), Unsigned(back(16)), once})),
                ElementsAre(0, 8, 0));
    EXPECT_THAT(RebasedFromData(Joined({once, Op(RebaseOpcode::SetSegmentAndOffset, dataSegment),
                                        Unsigned(64), once})),
                ElementsAre(0, 64));
}

TEST_F(MachOFixups, RebasingEndsAtItsEnd) {
    const MadeBytes once = Op(RebaseOpcode::RebaseTimes, 1);
    EXPECT_THAT(RebasedFromData(Joined({once, Op(RebaseOpcode::Done), once})), ElementsAre(0));
    EXPECT_THAT(RebasedFromData(Joined({once, once})), ElementsAre(0, 8));
}

TEST_F(MachOFixups, RebasingRefusesWhatItDoesNotKnow) {
    for (unsigned opcode = 0x90; opcode <= 0xF0; opcode += 0x10)
        EXPECT_EQ(RebaseError({static_cast<std::uint8_t>(opcode)}),
                  "it is rebased by an unknown opcode");
    for (unsigned type = 0; type < 16; ++type)
        EXPECT_EQ(RebaseError(Op(RebaseOpcode::SetType, type)),
                  type == typePointer ? "no error" : "it fixes something else than pointers");
}

TEST_F(MachOFixups, BindOnce) {
    EXPECT_THAT(Bound(BindOf("_a", 2, dataSegment, 40)),
                ElementsAre(Binding{dataAddress + 40, "_a", 2, 0, false}));
    EXPECT_THAT(Bound(BindOf("_a", 3, dataSegment, 48, symbolIsWeakImport)),
                ElementsAre(Binding{dataAddress + 48, "_a", 3, 0, true}));
}

TEST_F(MachOFixups, BindingsKeepWhatIsNotSetAgain) {
    const MadeBytes opcodes =
        Joined({BindOf("_a", 2, dataSegment, 0, symbolIsWeakImport), Op(BindOpcode::SetAddend),
                Signed(-16), Op(BindOpcode::Bind), Op(BindOpcode::SetSymbol), Text("_b"),
                Op(BindOpcode::Bind), Op(BindOpcode::SetLibraryLong), Unsigned(3),
                Op(BindOpcode::SetAddend), Signed(0), Op(BindOpcode::Bind),
                Op(BindOpcode::SetLibrarySpecial, 0xE), Op(BindOpcode::Bind)});
    EXPECT_THAT(Bound(opcodes), ElementsAre(Binding{dataAddress, "_a", 2, 0, true},
                                            Binding{dataAddress + 8, "_a", 2, -16, true},
                                            Binding{dataAddress + 16, "_b", 2, -16, false},
                                            Binding{dataAddress + 24, "_b", 3, 0, false},
                                            Binding{dataAddress + 32, "_b", 0, 0, false}));
}

TEST_F(MachOFixups, BindAtOtherPlaces) {
    const MadeBytes once = Op(BindOpcode::Bind);
    EXPECT_THAT(BoundFromData(Joined({Op(BindOpcode::AddAddress), Unsigned(20), once, once})),
                ElementsAre(20, 28));
    EXPECT_THAT(BoundFromData(Joined({Op(BindOpcode::BindAddAddress), Unsigned(24), once})),
                ElementsAre(0, 32));
    EXPECT_THAT(BoundFromData(Joined({Op(BindOpcode::BindAddAddressScaled, 2), once})),
                ElementsAre(0, 24));
    EXPECT_THAT(
        BoundFromData(Joined({Op(BindOpcode::BindTimesSkipping), Unsigned(3), Unsigned(8), once})),
        ElementsAre(0, 16, 32, 48));
    EXPECT_THAT(BoundFromData(Joined({once, Op(BindOpcode::AddAddress), Unsigned(back(8)), once})),
                ElementsAre(0, 0));
}

TEST_F(MachOFixups, OnlyLateBindingsGoOnBehindAnEnd) {
    const MadeBytes opcodes =
        Joined({BindOf("_a", 1, dataSegment, 0), Op(BindOpcode::Done),
                BindOf("_b", 1, dataSegment, 8), Op(BindOpcode::Done), Op(BindOpcode::Done)});
    file_.bindOpcodes = file_.weakBindOpcodes = file_.lazyBindOpcodes = opcodes;
    const Binding first{dataAddress, "_a", 1, 0, false};
    const Binding second{dataAddress + 8, "_b", 1, 0, false};
    EXPECT_THAT(Bindings(file_), ElementsAre(first));
    EXPECT_THAT(WeakBindings(file_), ElementsAre(first));
    EXPECT_THAT(LazyBindings(file_), ElementsAre(first, second));
}

TEST_F(MachOFixups, BindingRefusesWhatItDoesNotKnow) {
    for (unsigned opcode = 0xD0; opcode <= 0xF0; opcode += 0x10)
        EXPECT_EQ(BindError({static_cast<std::uint8_t>(opcode)}), "it binds by an unknown opcode");
    for (unsigned type = 0; type < 16; ++type)
        EXPECT_EQ(BindError(Op(BindOpcode::SetType, type)),
                  type == typePointer ? "no error" : "it fixes something else than pointers");
}

TEST_F(MachOFixups, LibrariesAreThoseThatTheFileNames) {
    const std::string error = "it binds to a library that it does not name";
    for (unsigned ordinal = 0; ordinal < 16; ++ordinal)
        EXPECT_EQ(BindError(Op(BindOpcode::SetLibrary, ordinal)),
                  ordinal >= 1 && ordinal <= 3 ? "no error" : error);
    for (const std::uint64_t ordinal :
         {std::uint64_t{0}, std::uint64_t{4}, std::numeric_limits<std::uint64_t>::max()})
        EXPECT_EQ(BindError(Joined({Op(BindOpcode::SetLibraryLong), Unsigned(ordinal)})), error);
}

TEST_F(MachOFixups, SymbolsHaveNames) {
    EXPECT_EQ(BindError(Joined({Op(BindOpcode::SetSymbol), Text(""), Op(BindOpcode::Bind)})),
              "it binds to a symbol without a name");
    EXPECT_EQ(BindError(Joined({Op(BindOpcode::SetSymbol), {'_', 'a'}})), "it ends within a name");
}

TEST_F(MachOFixups, OperandsMustFollow) {
    const std::string error = "it ends within its link information";
    for (const RebaseOpcode opcode : {RebaseOpcode::SetSegmentAndOffset, RebaseOpcode::AddAddress,
                                      RebaseOpcode::RebaseManyTimes, RebaseOpcode::RebaseAddAddress,
                                      RebaseOpcode::RebaseTimesSkipping})
        EXPECT_EQ(RebaseError(Op(opcode)), error);
    EXPECT_EQ(RebaseError(Joined({Op(RebaseOpcode::RebaseTimesSkipping), Unsigned(1)})), error);
    for (const BindOpcode opcode :
         {BindOpcode::SetLibraryLong, BindOpcode::SetAddend, BindOpcode::SetSegmentAndOffset,
          BindOpcode::AddAddress, BindOpcode::BindAddAddress, BindOpcode::BindTimesSkipping})
        EXPECT_EQ(BindError(Op(opcode)), error);
    EXPECT_EQ(BindError(Joined({Op(BindOpcode::BindTimesSkipping), Unsigned(1)})), error);
}

TEST_F(MachOFixups, PointersLieInWhatTheFileHasOfASegment) {
    const auto rebaseAt = [this](unsigned segment, std::uint64_t offset) {
        return RebaseError(Joined({Op(RebaseOpcode::SetSegmentAndOffset, segment), Unsigned(offset),
                                   Op(RebaseOpcode::RebaseTimes, 1)}));
    };
    const auto bindAt = [this](unsigned segment, std::uint64_t offset) {
        return BindError(Joined({Op(BindOpcode::SetSegmentAndOffset, segment), Unsigned(offset),
                                 Op(BindOpcode::Bind)}));
    };
    const std::vector<std::function<std::string(unsigned, std::uint64_t)>> both{rebaseAt, bindAt};
    for (const auto& errorAt : both) {
        EXPECT_EQ(errorAt(dataSegment, sizeOfData - 8), "no error");
        EXPECT_EQ(errorAt(dataSegment, sizeOfData - 7), outside);
        EXPECT_EQ(errorAt(dataSegment, pageSize - 8), outside);
        EXPECT_EQ(errorAt(dataSegment, back(8)), outside);
        EXPECT_EQ(errorAt(textSegment, 0), outside);
        EXPECT_EQ(errorAt(2, 0), "it fixes an unknown segment");
        EXPECT_EQ(errorAt(15, 0), "it fixes an unknown segment");
    }
    EXPECT_EQ(RebaseError(Joined({Op(RebaseOpcode::RebaseManyTimes), Unsigned(17)})), outside);
    // Before a segment is chosen there is nowhere.
    EXPECT_EQ(ErrorOf([this] { Rebased(Op(RebaseOpcode::RebaseTimes, 1)); }), outside);
    EXPECT_EQ(ErrorOf([this] {
                  Bound(Joined({Op(BindOpcode::SetSymbol), Text("_a"), Op(BindOpcode::Bind)}));
              }),
              outside);
}

TEST_F(MachOFixups, AreNoMoreThanTheFileHasRoomFor) {
    constexpr std::uint64_t many = std::numeric_limits<std::uint64_t>::max();
    // Again and again the same pointer.
    const MadeBytes rebases =
        Joined({Op(RebaseOpcode::RebaseTimesSkipping), Unsigned(many), Unsigned(back(8))});
    EXPECT_EQ(RebaseError(rebases), tooMany);
    const auto bindings = [](std::uint64_t count) {
        return Joined({Op(BindOpcode::BindTimesSkipping), Unsigned(count), Unsigned(back(8))});
    };
    EXPECT_EQ(BindError(bindings(many)), tooMany);
    EXPECT_EQ(BindError(bindings(file_.size / 8)), "no error");
    EXPECT_EQ(BindError(bindings(file_.size / 8 + 1)), tooMany);
}

}  // namespace
}  // namespace workbench::macho
