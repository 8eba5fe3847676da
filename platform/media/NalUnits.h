#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/VideoEncoder.h"

namespace tessel::platform {

/// Types of H.264 NAL units, the low five bits of their first byte.
enum class NalType : std::uint8_t {
  kSlice = 1,
  kIdrSlice = 5,
  kSequenceParameterSet = 7,
  kPictureParameterSet = 8,
};

/// The type of a NAL unit that is not empty.
NalType nalType(NalUnit unit);

/// Whether a NAL unit that is not empty carries a part of a picture, or a parameter set.
bool isSlice(NalUnit unit);
bool isParameterSet(NalUnit unit);

/// The NAL units of an Annex B stream, without start codes and without the zeros between units.
/// They lie in `stream`.
std::vector<NalUnit> splitAnnexB(std::span<const std::uint8_t> stream);

}  // namespace tessel::platform
