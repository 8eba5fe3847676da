#include "platform/posix/files/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <random>
#include <sys/stat.h>

#include "platform/posix/FileDescriptor.h"

namespace tessel::platform {
namespace {

// Removes the temporary file unless it has become the real one.
class TemporaryFile {
 public:
  // In the folder of `target`, so that a rename can put it there. Its permissions are those of any
  // new file of this process.
  explicit TemporaryFile(const std::filesystem::path& target) {
    std::random_device random;
    constexpr int kMaxAttempts = 100;
    for (int attempt = 0; attempt < kMaxAttempts && !file_; ++attempt) {
      path_ = target.parent_path() /
              ("." + target.filename().string() + "." + std::to_string(random()));
      file_ = FileDescriptor{
          ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666)};
      if (!file_ && errno != EEXIST) return;
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (file_ && !kept_) ::unlink(path_.c_str());
  }

  explicit operator bool() const { return static_cast<bool>(file_); }
  int fd() const { return file_.get(); }

  // 0, or the number of the system's error.
  int moveTo(const std::filesystem::path& target, IfExists ifExists) {
    if (ifExists == IfExists::kFail) return moveToFree(target);
    if (::rename(path_.c_str(), target.c_str()) != 0) return errno;
    kept_ = true;
    return 0;
  }

 private:
  int moveToFree(const std::filesystem::path& target) {
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
      kept_ = true;
      return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // NFS and some FUSE file systems have no such rename. A link never replaces a file either; the
    // destructor removes the temporary name.
    return ::link(path_.c_str(), target.c_str()) == 0 ? 0 : errno;
  }

  std::filesystem::path path_;
  FileDescriptor file_;
  bool kept_ = false;
};

int writeAll(int fd, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

// Makes a new name durable. Best effort: some folders can be written to but not read, and some file
// systems sync no folder.
void trySyncFolder(const std::filesystem::path& folder) {
  const FileDescriptor directory{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  if (directory) ::fsync(directory.get());
}

// The absolute path without symbolic links.
std::filesystem::path resolved(const std::filesystem::path& path) {
  std::error_code failure;
  auto target = std::filesystem::weakly_canonical(path, failure);
  return failure ? path : target;
}

int takeOverPermissions(int fd, const std::filesystem::path& from) {
  struct stat old {};
  if (::stat(from.c_str(), &old) != 0) return errno == ENOENT ? 0 : errno;
  // The owner first, since changing it clears bits of the mode. Only root may give files away.
  if (::fchown(fd, old.st_uid, old.st_gid) != 0 && errno != EPERM) return errno;
  return ::fchmod(fd, old.st_mode & 07777) == 0 ? 0 : errno;
}

}  // namespace

std::optional<Bytes> readWholeFile(const std::string& path, std::size_t limit) {
  const FileDescriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return std::nullopt;
  }

  Bytes contents;
  constexpr std::size_t kChunkSize = 65536;
  for (;;) {
    const std::size_t had = contents.size();
    contents.resize(had + kChunkSize);
    const ssize_t got = ::read(file.get(), contents.data() + had, kChunkSize);
    contents.resize(had + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got < 0 && errno == EINTR) continue;
    if (contents.size() > limit) errno = EFBIG;
    if (got < 0 || contents.size() > limit) return std::nullopt;
    if (got == 0) return contents;
  }
}

int writeWholeFile(const std::string& path, std::span<const std::uint8_t> contents,
                   IfExists ifExists) {
  const auto target = resolved(path);
  TemporaryFile temporary{target};
  if (!temporary) return errno;
  if (ifExists == IfExists::kReplace) {
    if (const int failure = takeOverPermissions(temporary.fd(), target)) return failure;
  }
  if (const int failure = writeAll(temporary.fd(), contents)) return failure;
  if (::fsync(temporary.fd()) != 0) return errno;
  if (const int failure = temporary.moveTo(target, ifExists)) return failure;
  trySyncFolder(target.parent_path());
  return 0;
}

}  // namespace tessel::platform
