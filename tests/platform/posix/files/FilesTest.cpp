#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "platform/posix/files/FileServices.h"
#include "platform/posix/files/PosixFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

struct FilesTest : ::testing::Test {
  void write(const std::string& name, const std::string& contents) const {
    std::ofstream{folder / name, std::ios::binary} << contents;
  }
  std::string read(const std::string& name) const {
    std::ostringstream contents;
    contents << std::ifstream{folder / name, std::ios::binary}.rdbuf();
    return contents.str();
  }
  std::size_t fileCount() const {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Iterator{folder.path()}, Iterator{}));
  }
  static std::string plist(const std::string& inner) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + inner +
           "</plist>\n";
  }

  const test::TemporaryFolder folder;
  const std::shared_ptr<Files> files = makeFiles();
};

PropertyListDictionary everything() {
  return {
      {"bool", {true}},
      {"negative", {std::int64_t{-5}}},
      {"large", {std::int64_t{1} << 40}},
      {"real", {1.25}},
      {"text", {std::string{"R&D <1> \xC3\xA9\n"}}},
      {"empty", {std::string{}}},
      {"data", {Bytes{0, 1, 255}}},
      {"date", {Date{std::chrono::seconds{1700000000}}}},
      {"list", {PropertyListArray{{false}, {PropertyListDictionary{{"k", {std::int64_t{1}}}}}}}},
      {"a & b", {PropertyListArray{}}},
  };
}

TEST_F(FilesTest, SharedFolderIsTheFixedOneUnlessTheEnvironmentSaysOtherwise) {
  ::unsetenv("TESSEL_SHARED_FOLDER");
  EXPECT_EQ(files->sharedFolder(), "/Users/Shared");
  ::setenv("TESSEL_SHARED_FOLDER", "", 1);
  EXPECT_EQ(files->sharedFolder(), "/Users/Shared");
  ::setenv("TESSEL_SHARED_FOLDER", "/elsewhere", 1);
  EXPECT_EQ(files->sharedFolder(), "/elsewhere");
}

TEST_F(FilesTest, DirectoriesAreMadeWithAllFoldersOnTheWay) {
  EXPECT_FALSE(files->createDirectory(folder / "a/b/c"));
  EXPECT_TRUE(files->exists(folder / "a/b/c"));
  EXPECT_FALSE(files->createDirectory(folder / "a/b/c"));
}

TEST_F(FilesTest, ADirectoryWhereAFileIsFailsWithASentence) {
  write("file", "x");
  const auto error = files->createDirectory(folder / "file/sub");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kFilesErrorDomain);
  EXPECT_EQ(error->code, ENOTDIR);
  EXPECT_THAT(error->localizedDescription, EndsWith("Not a directory"));
}

TEST_F(FilesTest, ACopyHoldsTheSameBytes) {
  const std::string bytes{"a\0b\n", 4};
  write("from", bytes);
  EXPECT_FALSE(files->copy(folder / "from", folder / "to"));
  EXPECT_EQ(read("to"), bytes);
  EXPECT_EQ(fileCount(), 2U);
}

TEST_F(FilesTest, ACopyNeverReplacesAFile) {
  write("from", "new");
  write("to", "old");
  const auto error = files->copy(folder / "from", folder / "to");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, EEXIST);
  EXPECT_EQ(read("to"), "old");
  EXPECT_EQ(fileCount(), 2U);
}

TEST_F(FilesTest, ACopyOfNothingOrToNowhereFails) {
  const auto missing = files->copy(folder / "missing", folder / "to");
  ASSERT_TRUE(missing);
  EXPECT_EQ(missing->code, ENOENT);
  write("from", "x");
  const auto nowhere = files->copy(folder / "from", folder / "no/such/folder");
  ASSERT_TRUE(nowhere);
  EXPECT_EQ(nowhere->code, ENOENT);
}

TEST_F(FilesTest, ACopyOfWhatIsNoFileTellsThatAndNotAnOlderError) {
  std::filesystem::create_directory(folder / "folder");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  errno = EPERM;
  const auto ofFolder = files->copy(folder / "folder", folder / "to");
  ASSERT_TRUE(ofFolder);
  EXPECT_EQ(ofFolder->code, EISDIR);
  const auto ofPipe = files->copy(folder / "pipe", folder / "to");
  ASSERT_TRUE(ofPipe);
  EXPECT_EQ(ofPipe->code, EINVAL);
}

// The file is there: to say that nothing has changed would be wrong.
TEST_F(FilesTest, AFolderThatCannotBeReadTakesAFileAllTheSame) {
  constexpr uid_t kNobody = 65534;
  write("from", "x");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0300), 0);
  const bool isRoot = ::geteuid() == 0;  // who may read everything
  ASSERT_TRUE(!isRoot || ::chown(folder.path().c_str(), kNobody, kNobody) == 0);
  EXPECT_EXIT(
      {
        const bool ready = !isRoot || (::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
        ::_exit(ready && !files->copy(folder / "from", folder / "to") ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
  EXPECT_EQ(read("to"), "x");
}

TEST_F(FilesTest, APropertyListComesBackAsItWasWritten) {
  ASSERT_TRUE(files->writePropertyListAtomically(folder / "x.plist", everything()));
  EXPECT_EQ(files->readPropertyList(folder / "x.plist"), everything());
  EXPECT_THAT(read("x.plist"), HasSubstr("<!DOCTYPE plist"));
  EXPECT_EQ(fileCount(), 1U);
}

TEST_F(FilesTest, AnXmlPropertyListOfAnotherProgramIsRead) {
  write("x.plist",
        plist("<dict><key>Auto</key><false/><key>n</key><integer>0x10</integer></dict>"));
  const PropertyListDictionary expected{{"Auto", {false}}, {"n", {std::int64_t{16}}}};
  EXPECT_EQ(files->readPropertyList(folder / "x.plist"), expected);
}

TEST_F(FilesTest, ABinaryPropertyListIsRead) {
  const std::string dictionary{"bplist00\xD1\x01\x02\x51k\x09", 14};
  const std::string offsets{"\x08\x0B\x0D", 3};
  const std::string trailer{"\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0E",
                            32};
  write("x.plist", dictionary + offsets + trailer);
  const PropertyListDictionary expected{{"k", {true}}};
  EXPECT_EQ(files->readPropertyList(folder / "x.plist"), expected);
}

TEST_F(FilesTest, WhatIsNoDictionaryIsNotRead) {
  EXPECT_FALSE(files->readPropertyList(folder / "missing.plist"));
  EXPECT_FALSE(files->readPropertyList(folder.path().string()));
  const std::vector<std::string> contents = {"",
                                             "x",
                                             "bplist00",
                                             plist("<array><true/></array>"),
                                             plist("<string>x</string>"),
                                             plist(""),
                                             plist("<dict><key>a</key></dict>").substr(0, 60),
                                             "<dict>",
                                             "<?xml version='1.0'?>"};
  for (const std::string& content : contents) {
    write("x.plist", content);
    EXPECT_FALSE(files->readPropertyList(folder / "x.plist")) << content;
  }
}

TEST_F(FilesTest, APipeInPlaceOfAFileDoesNotBlock) {
  ASSERT_EQ(::mkfifo((folder / "x.plist").c_str(), 0600), 0);
  EXPECT_FALSE(files->readPropertyList(folder / "x.plist"));
}

TEST_F(FilesTest, AHugePropertyListIsNotRead) {
  write("x.plist", plist("<dict/>"));
  EXPECT_TRUE(files->readPropertyList(folder / "x.plist"));
  std::filesystem::resize_file(folder / "x.plist", kMaxPropertyListSize + 1);
  EXPECT_FALSE(files->readPropertyList(folder / "x.plist"));
}

TEST_F(FilesTest, ADeeplyNestedPropertyListIsNotRead) {
  std::string nested;
  for (int i = 0; i < 1000000; ++i) nested += "<array>";
  write("x.plist", plist(nested));
  EXPECT_FALSE(files->readPropertyList(folder / "x.plist"));
}

TEST_F(FilesTest, EveryTruncationOfAPropertyListIsReadOrRefusedInBounds) {
  ASSERT_TRUE(files->writePropertyListAtomically(folder / "whole.plist", everything()));
  const std::string whole = read("whole.plist");
  const std::size_t body = whole.rfind("</dict>");
  for (std::size_t length = 0; length < body; ++length) {
    write("x.plist", whole.substr(0, length));
    EXPECT_FALSE(files->readPropertyList(folder / "x.plist")) << length;
  }
}

TEST_F(FilesTest, TextsThatXmlCannotHoldAreNotWritten) {
  write("x.plist", "old");
  EXPECT_FALSE(
      files->writePropertyListAtomically(folder / "x.plist", {{"k", {std::string{"a\0b", 3}}}}));
  EXPECT_FALSE(files->writePropertyListAtomically(folder / "x.plist", {{"\x01", {true}}}));
  EXPECT_FALSE(files->writePropertyListAtomically(
      folder / "x.plist", {{"k", {PropertyListArray{{std::numeric_limits<double>::infinity()}}}}}));
  EXPECT_EQ(read("x.plist"), "old");
}

TEST_F(FilesTest, AReaderSeesTheOldFileOrTheNewOneButNeverAPart) {
  const std::string path = folder / "x.plist";
  const auto contents = [](std::int64_t number) {
    return PropertyListDictionary{{"number", {number}},
                                  {"filler", {std::string(100000, 'a' + number % 26)}}};
  };
  ASSERT_TRUE(files->writePropertyListAtomically(path, contents(0)));
  std::atomic<bool> done = false;
  std::thread writer{[&] {
    for (std::int64_t number = 1; number <= 100; ++number)
      EXPECT_TRUE(files->writePropertyListAtomically(path, contents(number)));
    done = true;
  }};
  int reads = 0;
  while (!done || reads == 0) {
    const auto seen = files->readPropertyList(path);
    ++reads;
    if (!seen || *seen != contents(std::get<std::int64_t>(seen->at("number").value))) {
      ADD_FAILURE() << "read " << reads << " saw a part";
      break;
    }
  }
  writer.join();
  EXPECT_EQ(fileCount(), 1U);
}

TEST_F(FilesTest, AWriteThatFailsHalfwayKeepsTheOldFile) {
  const PropertyListDictionary old{{"k", {std::int64_t{1}}}};
  ASSERT_TRUE(files->writePropertyListAtomically(folder / "x.plist", old));
  // No file of this process may grow beyond 4 KiB from here on, as on a disk that is full.
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{4096, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const bool written =
      files->writePropertyListAtomically(folder / "x.plist", {{"k", {std::string(100000, 'x')}}});
  ::setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_FALSE(written);
  EXPECT_EQ(files->readPropertyList(folder / "x.plist"), old);
  EXPECT_EQ(fileCount(), 1U);
}

TEST_F(FilesTest, AFolderThatIsNotThereOrNotWritableFailsAWrite) {
  EXPECT_FALSE(files->writePropertyListAtomically(folder / "no/x.plist", {}));
  EXPECT_FALSE(files->writePropertyListAtomically("/proc/tessel.plist", {}));
  EXPECT_TRUE(files->createDirectory("/proc/tessel"));
}

TEST_F(FilesTest, AReplacedFileKeepsItsPermissionsAndALinkItsPlace) {
  write("real.plist", "old");
  ASSERT_EQ(::chmod((folder / "real.plist").c_str(), 0640), 0);
  ASSERT_EQ(::symlink("real.plist", (folder / "link.plist").c_str()), 0);
  ASSERT_TRUE(files->writePropertyListAtomically(folder / "link.plist", everything()));
  struct stat status {};
  ASSERT_EQ(::lstat((folder / "link.plist").c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(::stat((folder / "real.plist").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_EQ(files->readPropertyList(folder / "real.plist"), everything());
}

TEST_F(FilesTest, ANewFileGetsThePermissionsOfAnyNewFile) {
  const mode_t mask = ::umask(027);
  ASSERT_TRUE(files->writePropertyListAtomically(folder / "x.plist", {}));
  ::umask(mask);
  struct stat status {};
  ASSERT_EQ(::stat((folder / "x.plist").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(FilesTest, TheBundleHoldsTheDefaultConfiguration) {
  const auto bundle = files->bundle();
  ASSERT_TRUE(bundle);
  EXPECT_THAT(bundle->description, EndsWith("/share/tessel"));
  const auto path = files->resourcePath(*bundle, "VexCfg.plist");
  ASSERT_TRUE(path);
  const PropertyListDictionary expected{{"AutoDisconnectCastingWhenCloseLaptop", {true}}};
  EXPECT_EQ(files->readPropertyList(*path), expected);
}

TEST_F(FilesTest, AResourceThatIsNotInTheBundleIsNotFound) {
  write("here", "x");
  const Bundle bundle{folder.path().string()};
  EXPECT_EQ(files->resourcePath(bundle, "here"), folder / "here");
  EXPECT_FALSE(files->resourcePath(bundle, "missing"));
  EXPECT_FALSE(files->resourcePath(bundle, ""));
  EXPECT_FALSE(files->resourcePath(bundle, "../" + folder.path().filename().string() + "/here"));
}

TEST_F(FilesTest, ATildeBecomesTheHomeFolder) {
  ::setenv("HOME", "/home/me", 1);
  EXPECT_EQ(files->expandTilde("~"), "/home/me");
  EXPECT_EQ(files->expandTilde("~/a/b"), "/home/me/a/b");
  EXPECT_EQ(files->expandTilde("~root/x"), "/root/x");
  EXPECT_EQ(files->expandTilde("~no-such-user/x"), "~no-such-user/x");
  EXPECT_EQ(files->expandTilde("/a/~"), "/a/~");
  EXPECT_EQ(files->expandTilde(""), "");
  ::unsetenv("HOME");
  EXPECT_THAT(files->expandTilde("~/x"), testing::StartsWith("/"));
}

TEST_F(FilesTest, AnOutputStreamMakesOrEmptiesItsFileWhenItIsOpened) {
  write("old", "contents");
  const auto over = files->makeOutputStream(folder / "old");
  ASSERT_TRUE(over);
  EXPECT_EQ(read("old"), "contents");
  over->open();
  EXPECT_EQ(read("old"), "");
  const auto fresh = files->makeOutputStream(folder / "new");
  EXPECT_FALSE(files->exists(folder / "new"));
  fresh->open();
  EXPECT_TRUE(files->exists(folder / "new"));
}

TEST_F(FilesTest, AnOutputStreamThatCannotBeOpenedIsSilent) {
  EXPECT_FALSE(files->makeOutputStream(""));
  const auto stream = files->makeOutputStream(folder / "no/such/folder");
  ASSERT_TRUE(stream);
  stream->open();
  EXPECT_FALSE(files->exists(folder / "no"));
}

}  // namespace
}  // namespace tessel::platform
