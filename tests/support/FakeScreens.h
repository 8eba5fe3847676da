#pragma once

#include <vector>

#include "platform/Screens.h"

namespace tessel::test {

/// Screens and a cursor that the test places.
class FakeScreens final : public platform::Screens {
 public:
  std::vector<Screen> list = {Screen{7, {{0, 0}, {1920, 1080}}}};
  Point mouse{960, 540};

  std::optional<Error> select(ScreenSource, Size) override { return std::nullopt; }
  std::vector<Screen> screens() override { return list; }
  Point mouseLocation() override { return mouse; }
};

}  // namespace tessel::test
