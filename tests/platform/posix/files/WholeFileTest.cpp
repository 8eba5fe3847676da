#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>

#include "platform/posix/files/WholeFile.h"
#include "tests/support/TemporaryFolder.h"

namespace tessel::platform {
namespace {

// Makes the system call that renames without replacing fail with `error` on this thread, as a file
// system or a kernel that does not have it would.
void refuseRenameWithoutReplacing(int error) {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 4 * sizeof(std::uint64_t)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),  // no flags: an ordinary rename
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{.len = std::size(program), .filter = program};
  ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
  ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

struct WholeFileTest : ::testing::TestWithParam<int> {
  static std::span<const std::uint8_t> bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
  }

  // Writes where a rename without replacing is not to be had.
  int writeThere(std::string_view text) const {
    int outcome = -1;
    std::thread{[&] {
      refuseRenameWithoutReplacing(GetParam());
      outcome = writeWholeFile(path, bytes(text), IfExists::kFail);
    }}.join();
    return outcome;
  }

  std::size_t fileCount() const {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Iterator{folder.path()}, Iterator{}));
  }

  const test::TemporaryFolder folder;
  const std::string path = folder / "file";
};

INSTANTIATE_TEST_SUITE_P(Errors, WholeFileTest, ::testing::Values(EINVAL, ENOSYS));

TEST_P(WholeFileTest, AFileIsMadeWhereARenameCannotRefuseToReplace) {
  EXPECT_EQ(writeThere("new"), 0);
  const auto contents = readWholeFile(path, 100);
  ASSERT_TRUE(contents);
  EXPECT_EQ((std::string{contents->begin(), contents->end()}), "new");
  EXPECT_EQ(fileCount(), 1U) << "no temporary file is left";
}

TEST_P(WholeFileTest, AnExistingFileIsNotReplacedThereEither) {
  ASSERT_EQ(writeWholeFile(path, bytes("old"), IfExists::kReplace), 0);
  EXPECT_EQ(writeThere("new"), EEXIST);
  const auto contents = readWholeFile(path, 100);
  ASSERT_TRUE(contents);
  EXPECT_EQ((std::string{contents->begin(), contents->end()}), "old");
  EXPECT_EQ(fileCount(), 1U);
}

}  // namespace
}  // namespace tessel::platform
