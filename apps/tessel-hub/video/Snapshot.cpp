#include "apps/tessel-hub/video/Snapshot.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <memory>
#include <png.h>
#include <system_error>
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
  return written && std::fflush(file) == 0;
}

// Where the picture is written: into a new file beside the one at `path`, which replaces that once
// it is whole; or directly into a device, a pipe and the like, which stay.
class Destination {
 public:
  explicit Destination(const std::string& path) : target_{path} {
    std::error_code error;
    const auto kind = std::filesystem::status(path, error).type();
    replaces_ = kind == std::filesystem::file_type::regular ||
                kind == std::filesystem::file_type::not_found;
    if (!replaces_) return;
    const auto file = std::filesystem::weakly_canonical(path, error);
    if (!error) target_ = file;  // not the link to it
    temporary_ = target_ + "." + std::to_string(getpid());
  }
  ~Destination() {
    if (file_ && replaces_) std::remove(temporary_.c_str());
  }
  Destination(const Destination&) = delete;
  Destination& operator=(const Destination&) = delete;

  // Without opening a pipe: to its reader, closing it again would be the end.
  bool canBeWritten() {
    if (replaces_) return open() != nullptr;
    errno = EISDIR;
    return !std::filesystem::is_directory(target_) && access(target_.c_str(), W_OK) == 0;
  }

  std::FILE* open() {
    constexpr mode_t kReadable = 0666;
    // O_NONBLOCK: a pipe without a reader is an error, not a wait.
    const int extra = replaces_ ? O_CREAT | O_TRUNC : O_NONBLOCK;
    const int descriptor =
        ::open((replaces_ ? temporary_ : target_).c_str(), O_WRONLY | O_CLOEXEC | extra, kReadable);
    if (descriptor < 0) return nullptr;
    fcntl(descriptor, F_SETFL, O_WRONLY);
    file_.reset(fdopen(descriptor, "wb"));
    return file_.get();
  }

  // The picture has been written.
  bool finish() {
    if (!replaces_) return true;
    if (fsync(fileno(file_.get())) != 0) return false;
    return std::rename(temporary_.c_str(), target_.c_str()) == 0;
  }

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string target_;
  std::string temporary_;
  bool replaces_ = false;
  std::unique_ptr<std::FILE, Closer> file_;
};

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

bool canWriteSnapshot(const std::string& path, std::string& problem) {
  Destination destination{path};
  if (destination.canBeWritten()) return true;
  problem = std::strerror(errno);
  return false;
}

bool writeSnapshot(const Picture& picture, const std::string& path, std::string& problem) {
  const std::vector<std::uint8_t> pixels = rgbFrom(picture);
  Destination destination{path};
  std::FILE* const file = destination.open();
  if (file != nullptr && encode(file, picture, pixels) && destination.finish()) return true;
  problem = std::strerror(errno);
  return false;
}

}  // namespace tessel::hub
