#include "platform/media/TestPattern.h"

#include <algorithm>
#include <array>
#include <string>

namespace tessel::platform {
namespace {

constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr std::uint32_t kBlack = 0x000000;

// The strip: two rows of cells, with a margin of one cell around them.
//
//   cells  0 -  1  white, black: the levels to compare with
//   cells  2 - 33  the counter, highest bit first, 1 is white
//   cells 34 - 49  CRC-16 of the counter's four bytes, highest bit first
//   cells 50 - 51  black, white: ends the strip
constexpr int kColumns = 26;
constexpr int kRows = 2;
constexpr int kCells = kColumns * kRows;
constexpr int kCounterCell = 2;
constexpr int kCheckCell = kCounterCell + 32;
constexpr int kEndCell = kCheckCell + 16;
static_assert(kEndCell + 2 == kCells);

// The picture's grid: the strip's cells are one unit wide and one unit high.
constexpr int kUnitsAcross = kColumns + 2;
constexpr int kUnitsDown = 24;
constexpr int kStripUnits = kRows + 1;

// Row of the digits and of the travelling block, in units from the top.
constexpr int kDigitsTop = 5;
constexpr int kDigitsHeight = 5;
constexpr int kTrackTop = 14;
constexpr int kTrackHeight = 3;

// Digits on a grid of three columns and five rows, a row in three bits, the left column highest.
constexpr std::array<std::array<std::uint8_t, 5>, 10> kDigits{{
    {0b111, 0b101, 0b101, 0b101, 0b111},
    {0b010, 0b110, 0b010, 0b010, 0b111},
    {0b111, 0b001, 0b111, 0b100, 0b111},
    {0b111, 0b001, 0b111, 0b001, 0b111},
    {0b101, 0b101, 0b111, 0b001, 0b001},
    {0b111, 0b100, 0b111, 0b001, 0b111},
    {0b111, 0b100, 0b111, 0b101, 0b111},
    {0b111, 0b001, 0b010, 0b010, 0b010},
    {0b111, 0b101, 0b111, 0b101, 0b111},
    {0b111, 0b101, 0b111, 0b001, 0b111},
}};

// Where the edge before unit `index` lies, of `units` over `length` pixels.
constexpr int edge(int index, int units, int length) {
  return static_cast<int>(static_cast<std::int64_t>(index) * length / units);
}

FilledRectangle block(int left, int top, int right, int bottom, int width, int height,
                      std::uint32_t rgb) {
  const int x = edge(left, kUnitsAcross, width);
  const int y = edge(top, kUnitsDown, height);
  return {x, y, edge(right, kUnitsAcross, width) - x, edge(bottom, kUnitsDown, height) - y, rgb};
}

// CRC-16 with the polynomial 0x1021, started with ones so that a zero is checked as well.
std::uint16_t checkBits(std::uint32_t counter) {
  std::uint32_t crc = 0xFFFF;
  for (int bit = 31; bit >= 0; --bit) {
    const std::uint32_t top = (crc >> 15U) ^ (counter >> static_cast<unsigned>(bit));
    crc = (crc << 1U) & 0xFFFFU;
    if ((top & 1U) != 0) crc ^= 0x1021U;
  }
  return static_cast<std::uint16_t>(crc);
}

// The strip's cells, true for white.
std::array<bool, kCells> cellsOf(std::uint32_t counter) {
  std::array<bool, kCells> cells{};
  cells[0] = true;
  for (std::size_t bit = 0; bit < 32; ++bit) {
    cells[kCounterCell + bit] = ((counter >> (31U - bit)) & 1U) != 0;
  }
  const std::uint32_t check = checkBits(counter);
  for (std::size_t bit = 0; bit < 16; ++bit) {
    cells[kCheckCell + bit] = ((check >> (15U - bit)) & 1U) != 0;
  }
  cells[kEndCell + 1] = true;
  return cells;
}

// The strip begins half a unit below the upper edge, so its rows lie between half units.
int stripEdge(int row, int height) { return edge(2 * row + 1, 2 * kUnitsDown, height); }

// Mean of the middle of a cell: scaling and encoding blur its border.
int cellLevel(const std::uint8_t* luma, int stride, int width, int height, int cell) {
  const int column = cell % kColumns;
  const int row = cell / kColumns;
  const int left = edge(4 * (column + 1) + 1, 4 * kUnitsAcross, width);
  const int right = std::max(left + 1, edge(4 * (column + 1) + 3, 4 * kUnitsAcross, width));
  const int cellTop = stripEdge(row, height);
  const int cellHeight = stripEdge(row + 1, height) - cellTop;
  const int top = cellTop + cellHeight / 4;
  const int bottom = std::max(top + 1, cellTop + cellHeight * 3 / 4);
  int sum = 0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) sum += luma[static_cast<std::ptrdiff_t>(y) * stride + x];
  }
  return sum / ((right - left) * (bottom - top));
}

// BT.601, limited range, in 1/256.
std::array<std::uint8_t, 3> toYUV(std::uint32_t rgb) {
  const int r = static_cast<int>(rgb >> 16U & 0xFFU);
  const int g = static_cast<int>(rgb >> 8U & 0xFFU);
  const int b = static_cast<int>(rgb & 0xFFU);
  return {static_cast<std::uint8_t>((66 * r + 129 * g + 25 * b + 128) / 256 + 16),
          static_cast<std::uint8_t>((-38 * r - 74 * g + 112 * b + 128 + 128 * 256) / 256),
          static_cast<std::uint8_t>((112 * r - 94 * g - 18 * b + 128 + 128 * 256) / 256)};
}

void fillPlane(const PlanarPicture& picture, std::size_t plane, int left, int top, int right,
               int bottom, std::uint8_t value) {
  if (right <= left) return;
  for (int y = top; y < bottom; ++y) {
    std::uint8_t* row =
        picture.planes[plane] + static_cast<std::ptrdiff_t>(y) * picture.strides[plane];
    std::fill(row + left, row + right, value);
  }
}

}  // namespace

std::vector<FilledRectangle> TestPattern::background() const {
  constexpr std::array<std::uint32_t, 7> kBars{0xC0C0C0, 0xC0C000, 0x00C0C0, 0x00C000,
                                               0xC000C0, 0xC00000, 0x0000C0};
  constexpr int kSteps = 14;
  std::vector<FilledRectangle> picture;
  picture.push_back({0, 0, width_, height_, 0x303840});
  const int barsTop = edge(kTrackTop + kTrackHeight + 1, kUnitsDown, height_);
  const int rampTop = edge(kUnitsDown - 2, kUnitsDown, height_);
  for (int bar = 0; bar < static_cast<int>(kBars.size()); ++bar) {
    const int left = edge(bar, kBars.size(), width_);
    const int right = edge(bar + 1, kBars.size(), width_);
    picture.push_back({left, barsTop, right - left, rampTop - barsTop, kBars[bar]});
  }
  for (int step = 0; step < kSteps; ++step) {
    const int left = edge(step, kSteps, width_);
    const int right = edge(step + 1, kSteps, width_);
    const std::uint32_t grey = 255U * static_cast<std::uint32_t>(step) / (kSteps - 1);
    picture.push_back({left, rampTop, right - left, height_ - rampTop, grey * 0x010101U});
  }
  return picture;
}

std::vector<FilledRectangle> TestPattern::foreground(std::uint32_t counter) const {
  std::vector<FilledRectangle> picture = strip(counter);

  constexpr int kPlaces = 10;  // of the largest 32-bit number
  const int left = edge(2, kUnitsAcross, width_);
  const int top = edge(kDigitsTop, kUnitsDown, height_);
  const int dotHeight = edge(kDigitsHeight, kUnitsDown, height_) / 5;
  const int dotWidth = edge(kUnitsAcross - 4, kUnitsAcross, width_) / (kPlaces * 4);
  picture.push_back({left, top, dotWidth * kPlaces * 4, dotHeight * 5, 0x202020});
  const std::string digits = std::to_string(counter);
  for (std::size_t place = 0; place < digits.size(); ++place) {
    const auto& shape = kDigits[static_cast<std::size_t>(digits[place] - '0')];
    for (int dot = 0; dot < 15; ++dot) {
      if (((shape[static_cast<std::size_t>(dot / 3)] >> (2 - dot % 3)) & 1) == 0) continue;
      picture.push_back({left + (static_cast<int>(place) * 4 + dot % 3) * dotWidth,
                         top + dot / 3 * dotHeight, dotWidth, dotHeight, 0xE0E040});
    }
  }

  picture.push_back(
      block(0, kTrackTop, kUnitsAcross, kTrackTop + kTrackHeight, width_, height_, 0x404850));
  // Half a unit a frame: about a second from edge to edge and back in two.
  constexpr int kSpan = 2 * (kUnitsAcross - kTrackHeight);
  const int step = static_cast<int>(counter % (2U * kSpan));
  const int halfUnits = step < kSpan ? step : 2 * kSpan - step;
  FilledRectangle traveller =
      block(0, kTrackTop, kTrackHeight, kTrackTop + kTrackHeight, width_, height_, 0xF08030);
  traveller.x = edge(halfUnits, 2 * kUnitsAcross, width_);
  picture.push_back(traveller);
  return picture;
}

std::vector<FilledRectangle> TestPattern::strip(std::uint32_t counter) const {
  // Mid grey around the cells keeps both levels away from the encoder's edges.
  std::vector<FilledRectangle> picture{{0, 0, width_, stripHeight(), 0x808080}};
  const std::array<bool, kCells> cells = cellsOf(counter);
  for (int cell = 0; cell < kCells; ++cell) {
    const int column = cell % kColumns;
    const int row = cell / kColumns;
    const int x = edge(column + 1, kUnitsAcross, width_);
    const int y = stripEdge(row, height_);
    picture.push_back({x, y, edge(column + 2, kUnitsAcross, width_) - x,
                       stripEdge(row + 1, height_) - y,
                       cells[static_cast<std::size_t>(cell)] ? kWhite : kBlack});
  }
  return picture;
}

int TestPattern::stripHeight() const { return edge(kStripUnits, kUnitsDown, height_); }

void paint(const std::vector<FilledRectangle>& rectangles, const PlanarPicture& picture) {
  for (const FilledRectangle& rectangle : rectangles) {
    const int left = std::clamp(rectangle.x, 0, picture.width);
    const int right = std::clamp(rectangle.x + rectangle.width, left, picture.width);
    const int top = std::clamp(rectangle.y, 0, picture.height);
    const int bottom = std::clamp(rectangle.y + rectangle.height, top, picture.height);
    const std::array<std::uint8_t, 3> colour = toYUV(rectangle.rgb);
    fillPlane(picture, 0, left, top, right, bottom, colour[0]);
    for (std::size_t plane : {1, 2}) {
      fillPlane(picture, plane, left / 2, top / 2, (right + 1) / 2, (bottom + 1) / 2,
                colour[plane]);
    }
  }
}

std::optional<std::uint32_t> readFrameCounter(const std::uint8_t* luma, int stride, int width,
                                              int height) {
  constexpr int kContrast = 80;  // least difference between the two levels
  if (width < 2 * kUnitsAcross || height < 2 * kUnitsDown) return std::nullopt;
  const int white = cellLevel(luma, stride, width, height, 0);
  const int black = cellLevel(luma, stride, width, height, 1);
  if (white - black < kContrast) return std::nullopt;

  std::array<bool, kCells> read{};
  for (int cell = 0; cell < kCells; ++cell) {
    const int level = cellLevel(luma, stride, width, height, cell);
    // A level in the middle third is neither.
    if (level > black + (white - black) / 3 && level < white - (white - black) / 3) {
      return std::nullopt;
    }
    read[static_cast<std::size_t>(cell)] = level > (white + black) / 2;
  }
  std::uint32_t counter = 0;
  for (std::size_t bit = 0; bit < 32; ++bit) {
    counter = counter << 1U | (read[kCounterCell + bit] ? 1U : 0U);
  }
  if (read != cellsOf(counter)) return std::nullopt;  // levels, check bits and end
  return counter;
}

}  // namespace tessel::platform
