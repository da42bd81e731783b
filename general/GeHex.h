// The hexadecimal writer used for exception codes and addresses.
//
// Form: "0x", then the value in upper-case hexadecimal digits without leading
// zeros ("0x0" for zero), so 3221225477 is written "0xC0000005" and an address
// takes as many digits as it needs.
#ifndef GENERAL_GEHEX_H
#define GENERAL_GEHEX_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

/// Room for the longest form and its terminating NUL: "0x" and 16 digits.
constexpr std::size_t GeHexBufferSize = 2 + 16 + 1;

/// Writes the form of Value into Buffer, NUL-terminated, and answers its
/// length. When Size is too small for form and NUL it writes only a NUL (if
/// Size > 0) and answers 0. Allocates nothing, touches no locale and calls no
/// library function, so it may be used from a signal handler.
std::size_t GeFormatHex(std::uint64_t Value, char *Buffer, std::size_t Size);

/// The form of Value as a string.
std::string GeHex(std::uint64_t Value);

/// Writes the form of Value to Stream without allocating; answers Stream.
std::ostream &GeWriteHex(std::ostream &Stream, std::uint64_t Value);

#endif
