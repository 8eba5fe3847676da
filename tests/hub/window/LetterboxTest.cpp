#include <gtest/gtest.h>

#include "apps/tessel-hub/window/Letterbox.h"

namespace tessel::hub {
namespace {

TEST(LetterboxTest, PictureKeepsItsShapeInTheMiddle) {
  const Letterbox wide = Letterbox::fit(1920, 1080, 1000, 1000);
  EXPECT_EQ(wide.width, 1000);
  EXPECT_EQ(wide.height, 562);
  EXPECT_EQ(wide.x, 0);
  EXPECT_EQ(wide.y, 219);
  const Letterbox tall = Letterbox::fit(1080, 1920, 1000, 1000);
  EXPECT_EQ(tall.width, 562);
  EXPECT_EQ(tall.height, 1000);
}

TEST(LetterboxTest, PlacesOutsideThePictureGoToItsEdge) {
  EXPECT_EQ(Letterbox::toSession(-1, 500, 1920), 0);
  EXPECT_EQ(Letterbox::toSession(250, 500, 1920), 960);
  EXPECT_EQ(Letterbox::toSession(501, 500, 1920), 1920);
  EXPECT_EQ(Letterbox::toSession(5, 0, 1920), 0);
}

}  // namespace
}  // namespace tessel::hub
