#include "Snapshot.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <memory>
#include <png.h>
#include <unistd.h>

namespace tessel::hub {
namespace {

// The matrices turn Y, V, U into B, G, R when given the planes in their order.
const libyuv::YuvConstants* matrixFor(const Picture& picture) {
  if (picture.bt709)
    return picture.fullRange ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
  return picture.fullRange ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
}

bool encode(std::FILE* file, const Picture& picture, const std::vector<std::uint8_t>& pixels) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  const bool written =
      png_image_write_to_stdio(&image, file, 0, pixels.data(), 3 * picture.width, nullptr) != 0;
  png_image_free(&image);
  return written && std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}

}  // namespace

std::vector<std::uint8_t> rgbFrom(const Picture& picture) {
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  std::vector<std::uint8_t> argb(4 * width * height);
  std::vector<std::uint8_t> rgb(3 * width * height);
  libyuv::I420ToARGBMatrix(picture.y, picture.yStride, picture.u, picture.uStride, picture.v,
                           picture.vStride, argb.data(), 4 * picture.width, matrixFor(picture),
                           picture.width, picture.height);
  // The library names formats by the machine word: its RAW is red first in memory.
  libyuv::ARGBToRAW(argb.data(), 4 * picture.width, rgb.data(), 3 * picture.width, picture.width,
                    picture.height);
  return rgb;
}

bool writeSnapshot(const Picture& picture, const std::string& path, std::string& problem) {
  const std::vector<std::uint8_t> pixels = rgbFrom(picture);
  const std::string temporary = path + "." + std::to_string(getpid());
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::fopen(temporary.c_str(), "wbe"),
                                                             &std::fclose};
  if (file && encode(file.get(), picture, pixels) &&
      std::rename(temporary.c_str(), path.c_str()) == 0) {
    return true;
  }
  problem = std::strerror(errno);
  if (file) std::remove(temporary.c_str());
  return false;
}

}  // namespace tessel::hub
