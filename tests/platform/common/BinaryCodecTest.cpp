// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <istream>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>

#include "oru/common/BinaryDeserializer.h"
#include "oru/common/BinarySerializer.h"
#include "support/NamedCase.h"
#include "support/ThrownBy.h"

namespace oru::common {
namespace {

using kadi::authlist::test::byName;
using kadi::authlist::test::NamedCase;
using kadi::authlist::test::thrownBy;
using namespace std::string_literals;

// The bytes that action writes.
template <class Action>
std::string written(Action action) {
    std::ostringstream stream;
    BinarySerializer out(stream);
    action(out);
    return stream.str();
}

template <class Integer>
std::string asBytes(Integer value) {
    return written([value](BinarySerializer& out) { out.writeInteger(value); });
}

// A device that delivers some bytes and then an input error.
class BrokenDevice : public std::streambuf {
public:
    explicit BrokenDevice(std::string bytes) : mBytes(std::move(bytes)) {
        setg(mBytes.data(), mBytes.data(), mBytes.data() + mBytes.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("input error"); }

private:
    std::string mBytes;
};

// A device that takes some bytes and no more.
class FullDevice : public std::streambuf {
public:
    explicit FullDevice(int room) : mRoom(room) {}

protected:
    int_type overflow(int_type character) override { return mRoom-- > 0 ? character : traits_type::eof(); }

private:
    int mRoom;
};

template <class Value>
concept Streams = requires(BinarySerializer& out, Value value) {
    out << value;
};

TEST(BinarySerializer, WritesAFlagAsOneByte) {
    EXPECT_EQ(written([](BinarySerializer& out) { out << true << false; }), "\1\0"s);
}

TEST(BinarySerializer, WritesAStringAsItsLengthInFourBytesAndItsBytes) {
    EXPECT_EQ(written([](BinarySerializer& out) { out << "Hall"s; }), "\4\0\0\0Hall"s);
    EXPECT_EQ(written([](BinarySerializer& out) { out << ""s; }), "\0\0\0\0"s);
}

TEST(BinarySerializer, WritesIntegersLittleEndianInTheirOwnWidth) {
    EXPECT_EQ(asBytes(std::uint8_t{0x81}), "\x81"s);
    EXPECT_EQ(asBytes(std::uint16_t{0x1281}), "\x81\x12"s);
    EXPECT_EQ(asBytes(std::uint32_t{0x12345681}), "\x81\x56\x34\x12"s);
    EXPECT_EQ(asBytes(std::uint64_t{0x123456789ABCDE81}), "\x81\xDE\xBC\x9A\x78\x56\x34\x12"s);
}

TEST(BinarySerializer, WritesNegativeIntegersAsTwosComplement) {
    EXPECT_EQ(asBytes(std::int8_t{-2}), "\xFE"s);
    EXPECT_EQ(asBytes(std::int16_t{-2}), "\xFE\xFF"s);
    EXPECT_EQ(asBytes(std::int32_t{-2}), "\xFE\xFF\xFF\xFF"s);
    EXPECT_EQ(asBytes(std::numeric_limits<std::int64_t>::min()), "\0\0\0\0\0\0\0\x80"s);
}

TEST(BinarySerializer, TakesNothingElseForAFlag) {
    static_assert(Streams<bool> && Streams<std::string>);
    static_assert(!Streams<const char*> && !Streams<int> && !Streams<std::uint8_t> && !Streams<std::int64_t>);
    static_assert(!Streams<double> && !Streams<char>);
}

TEST(BinarySerializer, ThrowsWhenTheStreamTakesNoMore) {
    FullDevice device(6);
    std::ostream stream(&device);
    BinarySerializer out(stream);
    out << "ab"s;
    EXPECT_EQ(thrownBy([&out] { out << true; }), "std::runtime_error: The stream takes no more data");
}

TEST(BinarySerializer, ThrowsWhenTheStreamTakesOnlyAPart) {
    FullDevice device(6);
    std::ostream stream(&device);
    BinarySerializer out(stream);
    EXPECT_EQ(thrownBy([&out] { out << "abc"s; }), "std::runtime_error: The stream takes no more data");
}

// Reads from fixed bytes.
class BinaryDeserializerOn {
public:
    explicit BinaryDeserializerOn(const std::string& bytes) : mStream(bytes), mIn(mStream) {}

    BinaryDeserializer* operator->() { return &mIn; }
    BinaryDeserializer& operator*() { return mIn; }

    std::string rest() { return {std::istreambuf_iterator<char>(mStream), {}}; }

private:
    std::istringstream mStream;
    BinaryDeserializer mIn;
};

template <class Integer>
void expectRoundTrip() {
    using Limits = std::numeric_limits<Integer>;
    for (const Integer value : {Limits::min(), Integer{0}, Integer{1}, static_cast<Integer>(0x5A), Limits::max()}) {
        BinaryDeserializerOn in(asBytes(value));
        EXPECT_EQ(in->readInteger<Integer>(), value);
    }
    BinaryDeserializerOn minusOne(std::string(sizeof(Integer), '\xFF'));
    EXPECT_EQ(minusOne->readInteger<Integer>(), static_cast<Integer>(-1));
}

TEST(BinaryDeserializer, ReadsEveryIntegerAsItWasWritten) {
    expectRoundTrip<std::uint8_t>();
    expectRoundTrip<std::int8_t>();
    expectRoundTrip<std::uint16_t>();
    expectRoundTrip<std::int16_t>();
    expectRoundTrip<std::uint32_t>();
    expectRoundTrip<std::int32_t>();
    expectRoundTrip<std::uint64_t>();
    expectRoundTrip<std::int64_t>();
}

TEST(BinaryDeserializer, ReadsLittleEndian) {
    BinaryDeserializerOn in("\x81\x56\x34\x12"s);
    EXPECT_EQ(in->readInteger<std::uint32_t>(), 0x12345681U);
}

TEST(BinaryDeserializer, ReadsFlags) {
    BinaryDeserializerOn in("\1\0"s);
    bool first = false;
    bool second = true;
    *in >> first >> second;
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
}

class StringOfLength : public testing::TestWithParam<std::size_t> {};

TEST_P(StringOfLength, IsReadAsItWasWritten) {
    std::string text(GetParam(), '\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i % 251);
    BinaryDeserializerOn in(written([&text](BinarySerializer& out) { out << text; }) + "!");
    std::string read = "something before";
    *in >> read;
    EXPECT_EQ(read, text);
    EXPECT_EQ(in.rest(), "!") << "exactly what was written is consumed";
}

INSTANTIATE_TEST_SUITE_P(BinaryDeserializer, StringOfLength,
                         testing::Values(0U, 1U, 255U, 256U, 4095U, 4096U, 4097U, 8192U, 70000U),
                         testing::PrintToStringParamName());

TEST(BinaryDeserializer, RefusesAFlagOtherThanZeroAndOne) {
    BinaryDeserializerOn in("\1\2"s);
    bool flag = false;
    *in >> flag;
    EXPECT_EQ(thrownBy([&] { *in >> flag; }), "std::runtime_error: Neither 0 nor 1 in a flag before byte 2");
    BinaryDeserializerOn other("\xFF"s);
    EXPECT_EQ(thrownBy([&] { *other >> flag; }), "std::runtime_error: Neither 0 nor 1 in a flag before byte 1");
}

struct Shortage : NamedCase {
    std::string bytes;
    std::string message;
};

class ShortString : public testing::TestWithParam<Shortage> {};

TEST_P(ShortString, IsRefusedWithThePositionOfTheEnd) {
    BinaryDeserializerOn in(GetParam().bytes);
    std::string text;
    EXPECT_EQ(thrownBy([&] { *in >> text; }), "std::runtime_error: " + GetParam().message);
}

const Shortage shortages[] = {
    {{"WithNothing"}, "", "The data ends inside a value at byte 0"},
    {{"WithAPartOfTheLength"}, "\3\0\0"s, "The data ends inside a value at byte 3"},
    {{"WithoutItsBytes"}, "\3\0\0\0"s, "The data ends inside a value at byte 4"},
    {{"WithAPartOfItsBytes"}, "\3\0\0\0ab"s, "The data ends inside a value at byte 6"},
    {{"ThatClaimsFourGigabytes"}, "\xFF\xFF\xFF\xFFsome"s, "The data ends inside a value at byte 8"},
    {{"OfSeveralPieces"}, "\0\x20\0\0"s + std::string(5000, 'x'), "The data ends inside a value at byte 5004"},
};

INSTANTIATE_TEST_SUITE_P(BinaryDeserializer, ShortString, testing::ValuesIn(shortages), byName);

TEST(BinaryDeserializer, RefusesAShortInteger) {
    BinaryDeserializerOn in("\1\2\3\4\5\6\7"s);
    EXPECT_EQ(thrownBy([&in] { in->readInteger<std::uint64_t>(); }),
              "std::runtime_error: The data ends inside a value at byte 7");
}

TEST(BinaryDeserializer, AllocatesNothingForALengthThatIsOnlyClaimed) {
    BinaryDeserializerOn in("\xFF\xFF\xFF\xFFsome"s);
    std::string text;
    EXPECT_THROW(*in >> text, std::runtime_error);
    EXPECT_LT(text.capacity(), 16384U);
}

TEST(BinaryDeserializer, CountsBytesFromWhereItStarted) {
    std::istringstream stream("Title\1");
    stream.ignore(5);
    BinaryDeserializer in(stream);
    bool flag = false;
    in >> flag;
    EXPECT_EQ(thrownBy([&] { in >> flag; }), "std::runtime_error: The data ends inside a value at byte 1");
}

TEST(BinaryDeserializer, TellsAnInputErrorFromAnEnd) {
    BrokenDevice device("\3\0"s);
    std::istream stream(&device);
    BinaryDeserializer in(stream);
    EXPECT_EQ(in.readInteger<std::uint16_t>(), 3);
    EXPECT_EQ(thrownBy([&in] { in.readInteger<std::uint8_t>(); }), "std::runtime_error: Reading failed at byte 2");
}

TEST(BinaryDeserializer, FillsABufferOfTheCaller) {
    BinaryDeserializerOn in("abcdef");
    unsigned char bytes[4] = {};
    in->read(bytes, sizeof bytes);
    EXPECT_THAT(bytes, testing::ElementsAre('a', 'b', 'c', 'd'));
    EXPECT_EQ(in.rest(), "ef");
}

TEST(BinarySerializer, WritesBytesAsTheyAre) {
    const unsigned char bytes[] = {0, 1, 0xFF};
    EXPECT_EQ(written([&bytes](BinarySerializer& out) { out.write(bytes, sizeof bytes); }), "\0\1\xFF"s);
}

}  // namespace
}  // namespace oru::common
