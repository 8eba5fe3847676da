#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tessel/Types.h"

/// Whole files in and out of memory. Any thread.
namespace tessel::platform {

/// Contents of a regular file of at most `limit` bytes; none for anything else, with the reason in
/// errno. Never waits for the other end of a pipe.
std::optional<Bytes> readWholeFile(const std::string& path, std::size_t limit);

enum class IfExists { kReplace, kFail };

/// Writes a file atomically: no reader ever sees a part of it, not even after a power cut. Where
/// the folder can be synced, the new contents are durable on return. A replaced file keeps its
/// permissions, and its owner where the process may set it; a symbolic link stays, its target is
/// replaced. Returns 0, or the number of the system's error, and then nothing has changed.
int writeWholeFile(const std::string& path, std::span<const std::uint8_t> contents,
                   IfExists ifExists);

}  // namespace tessel::platform
