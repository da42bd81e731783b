// The hexadecimal writer.
#include "general/GeHex.h"

#include <ostream>

std::size_t GeFormatHex(std::uint64_t Value, char *Buffer, std::size_t Size) {
  static const char Digits[] = "0123456789ABCDEF";
  std::size_t DigitCount = 1;
  for (std::uint64_t Rest = Value >> 4; Rest != 0; Rest >>= 4)
    ++DigitCount;
  const std::size_t Length = 2 + DigitCount;
  if (Size < Length + 1) {
    if (Size > 0)
      Buffer[0] = '\0';
    return 0;
  }
  Buffer[0] = '0';
  Buffer[1] = 'x';
  for (std::size_t I = Length; I > 2; --I) {
    Buffer[I - 1] = Digits[Value & 0xF];
    Value >>= 4;
  }
  Buffer[Length] = '\0';
  return Length;
}

std::string GeHex(std::uint64_t Value) {
  char Buffer[GeHexBufferSize];
  return std::string(Buffer, GeFormatHex(Value, Buffer, sizeof(Buffer)));
}

std::ostream &GeWriteHex(std::ostream &Stream, std::uint64_t Value) {
  char Buffer[GeHexBufferSize];
  return Stream.write(Buffer, static_cast<std::streamsize>(
                                  GeFormatHex(Value, Buffer, sizeof(Buffer))));
}
