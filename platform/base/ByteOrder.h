#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

/// Integers in records of bytes. The offset is known when compiling and checked against the
/// record's size there.
namespace tessel::platform {

/// Writes `value` at byte `At` of `record`, least significant byte first.
template <std::size_t At, std::unsigned_integral T, std::size_t Size>
constexpr void putLittleEndian(std::span<std::uint8_t, Size> record, T value) {
  static_assert(At + sizeof(T) <= Size);
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    record[At + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

/// The integer at byte `At` of `record`, least significant byte first.
template <std::size_t At, std::unsigned_integral T, std::size_t Size>
constexpr T getLittleEndian(std::span<const std::uint8_t, Size> record) {
  static_assert(At + sizeof(T) <= Size);
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(value | static_cast<T>(static_cast<T>(record[At + i]) << (8 * i)));
  }
  return value;
}

/// Writes `value` at byte `At` of `record`, most significant byte first.
template <std::size_t At, std::unsigned_integral T, std::size_t Size>
constexpr void putBigEndian(std::span<std::uint8_t, Size> record, T value) {
  static_assert(At + sizeof(T) <= Size);
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    record[At + i] = static_cast<std::uint8_t>(value >> (8 * (sizeof(T) - 1 - i)));
  }
}

/// The integer at byte `At` of `record`, most significant byte first.
template <std::size_t At, std::unsigned_integral T, std::size_t Size>
constexpr T getBigEndian(std::span<const std::uint8_t, Size> record) {
  static_assert(At + sizeof(T) <= Size);
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(static_cast<T>(value << 8) | record[At + i]);
  }
  return value;
}

}  // namespace tessel::platform
