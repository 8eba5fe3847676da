#include "platform/media/NalUnits.h"

#include <cstddef>

namespace tessel::platform {
namespace {

// Where the next 00 00 01 begins at or after `from`; the size of the stream when there is none.
std::size_t findStartCode(std::span<const std::uint8_t> stream, std::size_t from) {
  std::size_t at = from;
  while (at + 3 <= stream.size()) {
    // A byte above 1 is in no start code: none begins before the byte after it.
    if (stream[at + 2] > 1) {
      at += 3;
    } else if (stream[at + 2] == 1 && stream[at + 1] == 0 && stream[at] == 0) {
      return at;
    } else {
      ++at;
    }
  }
  return stream.size();
}

}  // namespace

NalType nalType(NalUnit unit) { return static_cast<NalType>(unit.front() & 0x1FU); }

bool isSlice(NalUnit unit) {
  return nalType(unit) >= NalType::kSlice && nalType(unit) <= NalType::kIdrSlice;
}

bool isParameterSet(NalUnit unit) {
  return nalType(unit) == NalType::kSequenceParameterSet ||
         nalType(unit) == NalType::kPictureParameterSet;
}

std::vector<NalUnit> splitAnnexB(std::span<const std::uint8_t> stream) {
  std::vector<NalUnit> units;
  std::size_t begin = findStartCode(stream, 0);
  while (begin < stream.size()) {
    begin += 3;
    const std::size_t next = findStartCode(stream, begin);
    std::size_t end = next;
    while (end > begin && stream[end - 1] == 0) --end;
    if (end > begin) units.push_back(stream.subspan(begin, end - begin));
    begin = next;
  }
  return units;
}

}  // namespace tessel::platform
