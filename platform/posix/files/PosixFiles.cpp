#include "platform/posix/files/PosixFiles.h"

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <link.h>
#include <sys/stat.h>
#include <system_error>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/files/BinaryPropertyList.h"
#include "platform/posix/files/FileServices.h"
#include "platform/posix/files/HomeFolder.h"
#include "platform/posix/files/WholeFile.h"
#include "platform/posix/files/XmlPropertyList.h"

namespace tessel::platform {
namespace {

namespace fs = std::filesystem;

Error fileError(const std::string& path, int number) {
  return {kFilesErrorDomain, number, path + ": " + std::generic_category().message(number)};
}

class FileOutputStream : public OutputStream {
 public:
  explicit FileOutputStream(std::string path) : path_{std::move(path)} {}

  void open() override {
    file_ = FileDescriptor{::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)};
  }

 private:
  const std::string path_;
  FileDescriptor file_;
};

// The file that this code was loaded from: the library, or a program that it is linked into.
fs::path ownFile() {
  Dl_info info{};
  void* loaded = nullptr;
  static const char here = 0;
  if (::dladdr1(&here, &info, &loaded, RTLD_DL_LINKMAP) == 0) return {};
  const char* name = static_cast<link_map*>(loaded)->l_name;
  std::error_code failure;  // the program itself has no name
  return fs::canonical(name && *name ? name : "/proc/self/exe", failure);
}

}  // namespace

std::string PosixFiles::sharedFolder() {
  const char* folder = std::getenv("TESSEL_SHARED_FOLDER");
  return folder && *folder ? folder : "/Users/Shared";
}

bool PosixFiles::exists(const std::string& path) {
  std::error_code failure;
  return fs::exists(path, failure);
}

std::optional<Error> PosixFiles::createDirectory(const std::string& path) {
  std::error_code failure;
  fs::create_directories(path, failure);
  if (failure) return fileError(path, failure.value());
  return std::nullopt;
}

std::optional<Error> PosixFiles::copy(const std::string& from, const std::string& to) {
  const auto contents = readWholeFile(from, std::numeric_limits<std::size_t>::max());
  if (!contents) return fileError(from, errno);
  if (const int failure = writeWholeFile(to, *contents, IfExists::kFail))
    return fileError(to, failure);
  return std::nullopt;
}

// The resources lie in share/tessel beside the library's or the program's folder; the library's
// folder may be one deeper, named after the machine's architecture.
std::optional<Bundle> PosixFiles::bundle() {
  const fs::path own = ownFile();
  if (own.empty()) return std::nullopt;
  const fs::path beside = own.parent_path().parent_path();
  for (const fs::path& prefix : {beside, beside.parent_path()}) {
    const fs::path folder = prefix / "share" / "tessel";
    if (exists(folder.string())) return Bundle{folder.string()};
  }
  return Bundle{(beside / "share" / "tessel").string()};
}

std::optional<std::string> PosixFiles::resourcePath(const Bundle& bundle, const std::string& name) {
  if (name.empty() || name.find('/') != name.npos) return std::nullopt;
  std::string path = bundle.description + "/" + name;
  if (!exists(path)) return std::nullopt;
  return path;
}

std::optional<PropertyListDictionary> PosixFiles::readPropertyList(const std::string& path) {
  const auto file = readWholeFile(path, kMaxPropertyListSize);
  if (!file) return std::nullopt;
  auto root =
      isBinaryPropertyList(*file) ? parseBinaryPropertyList(*file) : parseXmlPropertyList(*file);
  if (!root || !std::holds_alternative<PropertyListDictionary>(root->value)) return std::nullopt;
  return std::get<PropertyListDictionary>(std::move(root->value));
}

bool PosixFiles::writePropertyListAtomically(const std::string& path,
                                             const PropertyListDictionary& dictionary) {
  const auto xml = formatXmlPropertyList(dictionary);
  if (!xml) return false;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(xml->data());
  return writeWholeFile(path, {bytes, xml->size()}, IfExists::kReplace) == 0;
}

std::string PosixFiles::expandTilde(const std::string& path) {
  if (!path.starts_with('~')) return path;
  const auto end = std::min(path.find('/'), path.size());
  const std::string user = path.substr(1, end - 1);
  const std::string home = user.empty() ? homeFolder() : homeFolderOf(user);
  return home.empty() ? path : home + path.substr(end);
}

std::unique_ptr<OutputStream> PosixFiles::makeOutputStream(const std::string& path) {
  if (path.empty()) return nullptr;
  return std::make_unique<FileOutputStream>(path);
}

std::shared_ptr<Files> makeFiles() { return std::make_shared<PosixFiles>(); }

}  // namespace tessel::platform
