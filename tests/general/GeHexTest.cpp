// Tests of the hexadecimal writer.
#include "general/GeHex.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <sstream>

namespace {

TEST(GeHexTest, Forms) {
  struct Case {
    std::uint64_t Value;
    const char *Expected;
  };
  const Case Cases[] = {
      {0, "0x0"},
      {9, "0x9"},
      {10, "0xA"},
      {0xabc, "0xABC"},
      {0x10, "0x10"},
      {0xC0000005, "0xC0000005"},
      {0x7FF6A1B2C3D4, "0x7FF6A1B2C3D4"},
      {0x8000000000000000, "0x8000000000000000"},
      {0xFFFFFFFFFFFFFFFF, "0xFFFFFFFFFFFFFFFF"},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(GeHex(C.Value), C.Expected);
    char Buffer[GeHexBufferSize];
    EXPECT_EQ(GeFormatHex(C.Value, Buffer, sizeof(Buffer)),
              std::strlen(C.Expected));
    EXPECT_STREQ(Buffer, C.Expected);
    std::ostringstream Out;
    GeWriteHex(Out, C.Value) << '|';
    EXPECT_EQ(Out.str(), std::string(C.Expected) + "|");
  }
}

TEST(GeHexTest, BufferTooSmallGivesEmptyText) {
  char Buffer[GeHexBufferSize];
  std::memset(Buffer, 'z', sizeof(Buffer));
  EXPECT_EQ(GeFormatHex(0xFFFFFFFFFFFFFFFF, Buffer, GeHexBufferSize - 1), 0u);
  EXPECT_STREQ(Buffer, "");
  EXPECT_EQ(GeFormatHex(0xABC, Buffer, 5), 0u);
  EXPECT_STREQ(Buffer, "");
  EXPECT_EQ(GeFormatHex(0xABC, Buffer, 6), 5u);
  EXPECT_STREQ(Buffer, "0xABC");
  Buffer[0] = 'z';
  EXPECT_EQ(GeFormatHex(0, Buffer, 0), 0u);
  EXPECT_EQ(Buffer[0], 'z');
}

char SignalText[GeHexBufferSize];
volatile std::sig_atomic_t SignalLength = -1;

extern "C" void FormatInHandler(int Signal) {
  SignalLength = static_cast<std::sig_atomic_t>(
      GeFormatHex(0xC0000000u + static_cast<unsigned>(Signal), SignalText,
                  sizeof(SignalText)));
}

TEST(GeHexTest, FormatsInsideASignalHandler) {
  auto Previous = std::signal(SIGUSR1, FormatInHandler);
  ASSERT_NE(Previous, SIG_ERR);
  std::raise(SIGUSR1);
  std::signal(SIGUSR1, Previous);
  EXPECT_EQ(SignalLength, 10);
  EXPECT_EQ(std::string(SignalText), GeHex(0xC0000000u + SIGUSR1));
}

} // namespace
