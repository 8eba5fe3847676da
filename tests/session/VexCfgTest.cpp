#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>

#include "tessel/VexCfg.h"
#include "tests/session/SettingsFile.h"
#include "tests/support/SimWorld.h"

namespace tessel::test {
namespace {

constexpr const char* kFolder = "/Users/Shared/Lumisk";
const PropertyListDictionary kDefaults = {{kAutoDisconnectKey, {true}}};

class VexCfgTest : public testing::Test {
 protected:
  SimWorld world;
};

TEST_F(VexCfgTest, FirstUseCreatesTheFolderCopiesTheDefaultFileAndLoadsIt) {
  const auto file = VexCfg::init();
  EXPECT_TRUE(world.files.folders.contains(kFolder));
  ASSERT_TRUE(world.files.files.contains(kSettingsFile));
  EXPECT_EQ(world.files.files[kSettingsFile], kDefaults);
  EXPECT_TRUE(file->fileExist());
  EXPECT_FALSE(file->fileModified());
  EXPECT_EQ(file->pCfgDict(), kDefaults);
  EXPECT_TRUE(world.log.lines().empty());
}

// In a process of its own, which has not used the shared file yet.
TEST_F(VexCfgTest, TheFirstSharedCfgFileCreatesTheFolderCopiesTheDefaultFileAndLoadsIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const bool fresh =
            world.files.folders.empty() && !world.files.files.contains(kSettingsFile);
        const auto file = VexCfg::sharedCfgFile();
        const bool copied = world.files.files.contains(kSettingsFile) &&
                            world.files.files[kSettingsFile] == kDefaults;
        std::cerr << "fresh " << fresh << ", folder " << world.files.folders.contains(kFolder)
                  << ", copied " << copied << ", fileExist " << file->fileExist() << ", loaded "
                  << (file->pCfgDict() == kDefaults) << "\n";
        std::exit(0);
      },
      testing::ExitedWithCode(0), "fresh 1, folder 1, copied 1, fileExist 1, loaded 1");
}

TEST_F(VexCfgTest, AMissingFileInAnExistingFolderIsCopied) {
  world.files.folders.insert(kFolder);
  world.files.createFailure = Error{"posix", 17, "File exists"};  // it is not made again
  const auto file = VexCfg::init();
  ASSERT_TRUE(world.files.files.contains(kSettingsFile));
  EXPECT_EQ(world.files.files[kSettingsFile], kDefaults);
  EXPECT_TRUE(file->fileExist());
  EXPECT_EQ(file->pCfgDict(), kDefaults);
  EXPECT_TRUE(world.log.lines().empty());
}

TEST_F(VexCfgTest, AFileThatExistsIsLeftAsItIs) {
  world.files.folders.insert(kFolder);
  world.files.files[kSettingsFile] = PropertyListDictionary{{"own", {std::int64_t{5}}}};
  const auto file = VexCfg::init();
  EXPECT_EQ(file->getObjectByKey("own"), (PropertyListValue{std::int64_t{5}}));
  EXPECT_EQ(file->getObjectByKey(kAutoDisconnectKey), std::nullopt);
}

TEST_F(VexCfgTest, SharedCfgFileIsOneInstance) {
  const auto file = VexCfg::sharedCfgFile();
  ASSERT_TRUE(file);
  EXPECT_EQ(file, VexCfg::sharedCfgFile());
}

// All that holds while there is no file: gets give nothing, sets and saves do nothing.
void expectNothingWorks(SimWorld& world, VexCfg& file) {
  EXPECT_FALSE(file.fileExist());
  file.reLoadCfgFile();
  EXPECT_EQ(file.pCfgDict(), std::nullopt);
  EXPECT_EQ(file.getObjectByKey(kAutoDisconnectKey), std::nullopt);
  file.setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  EXPECT_FALSE(file.fileModified());
  file.setFileModified(true);
  file.saveCfgFile();
  EXPECT_EQ(world.files.reads, 0);
  EXPECT_EQ(world.files.writes, 0);
}

TEST_F(VexCfgTest, AFolderThatCannotBeMadeIsLoggedAndLeavesNoFile) {
  world.files.createFailure = Error{"posix", 13, "Permission denied"};
  const auto file = VexCfg::init();
  EXPECT_TRUE(
      world.log.has("-[VexCfg checkCfgFileExist]: Failed to create '/Users/Shared/Lumisk'. Error: "
                    "Error Domain=posix Code=13 \"Permission denied\""));
  EXPECT_EQ(world.log.lines().size(), 1U);
  expectNothingWorks(world, *file);
}

TEST_F(VexCfgTest, AMissingBundleIsLoggedAndLeavesNoFile) {
  world.files.bundleFound.reset();
  const auto file = VexCfg::init();
  EXPECT_TRUE(world.log.has("-[VexCfg checkCfgFileExist]: Failed to get bundle"));
  EXPECT_EQ(world.log.lines().size(), 1U);
  expectNothingWorks(world, *file);
}

TEST_F(VexCfgTest, AMissingResourceIsLoggedAndLeavesNoFile) {
  world.files.resources.clear();
  const auto file = VexCfg::init();
  EXPECT_TRUE(world.log.has(
      "-[VexCfg checkCfgFileExist]: Failed to find path for 'VexCfg.plist' in bundle: "
      "/lib/tessel"));
  EXPECT_EQ(world.log.lines().size(), 1U);
  expectNothingWorks(world, *file);
}

TEST_F(VexCfgTest, AFailedCopyIsLoggedAndLeavesNoFile) {
  world.files.copyFailure = Error{"posix", 28, "No space left on device"};
  const auto file = VexCfg::init();
  EXPECT_TRUE(
      world.log.has("-[VexCfg checkCfgFileExist]: Failed to copy '/lib/tessel/VexCfg.plist' to "
                    "'/Users/Shared/Lumisk/VexCfg.plist'. Error: "
                    "Error Domain=posix Code=28 \"No space left on device\""));
  EXPECT_EQ(world.log.lines().size(), 1U);
  expectNothingWorks(world, *file);
}

TEST_F(VexCfgTest, ADamagedFileReadsAsEmptyAndDropsWrites) {
  world.files.folders.insert(kFolder);
  world.files.files[kSettingsFile] = std::nullopt;
  const auto file = VexCfg::init();
  EXPECT_TRUE(file->fileExist());
  EXPECT_EQ(file->pCfgDict(), std::nullopt);
  EXPECT_EQ(file->getObjectByKey(kAutoDisconnectKey), std::nullopt);
  file->setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  EXPECT_FALSE(file->fileModified());
  file->setFileModified(true);
  file->saveCfgFile();
  EXPECT_EQ(world.files.writes, 0);
}

TEST_F(VexCfgTest, SetObjectByKeyWithoutKeyOrValueOrDictionaryChangesNothing) {
  const auto file = VexCfg::init();
  file->setObjectByKey(std::nullopt, PropertyListValue{false});
  file->setObjectByKey("key", std::nullopt);
  EXPECT_FALSE(file->fileModified());
  EXPECT_EQ(file->pCfgDict(), kDefaults);
  file->setPCfgDict(std::nullopt);
  file->setObjectByKey("key", PropertyListValue{false});
  EXPECT_FALSE(file->fileModified());
  EXPECT_EQ(file->pCfgDict(), std::nullopt);
}

TEST_F(VexCfgTest, SaveCfgFileWithoutAPriorChangeWritesNothing) {
  const auto file = VexCfg::init();
  file->saveCfgFile();
  EXPECT_EQ(world.files.writes, 0);
}

TEST_F(VexCfgTest, AChangeIsWrittenOnceAndReadBack) {
  const auto file = VexCfg::init();
  file->setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  file->setObjectByKey("name", PropertyListValue{std::string{"hub"}});
  EXPECT_TRUE(file->fileModified());
  file->saveCfgFile();
  EXPECT_FALSE(file->fileModified());
  file->saveCfgFile();
  EXPECT_EQ(world.files.writes, 1);
  const auto again = VexCfg::init();
  EXPECT_EQ(again->getObjectByKey(kAutoDisconnectKey), PropertyListValue{false});
  EXPECT_EQ(again->getObjectByKey("name"), PropertyListValue{std::string{"hub"}});
}

TEST_F(VexCfgTest, AFailedWriteIsTriedAgainByALaterSave) {
  const auto file = VexCfg::init();
  file->setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  world.files.writeFails = true;
  file->saveCfgFile();
  EXPECT_TRUE(file->fileModified());
  world.files.writeFails = false;
  file->saveCfgFile();
  EXPECT_FALSE(file->fileModified());
  EXPECT_EQ(world.files.files[kSettingsFile]->at(kAutoDisconnectKey), PropertyListValue{false});
}

TEST_F(VexCfgTest, AReloadTakesTheFilesContents) {
  const auto file = VexCfg::init();
  world.files.files[kSettingsFile] = PropertyListDictionary{{"new", {true}}};
  EXPECT_EQ(file->getObjectByKey("new"), std::nullopt);
  file->reLoadCfgFile();
  EXPECT_EQ(file->getObjectByKey("new"), PropertyListValue{true});
  EXPECT_EQ(file->getObjectByKey(std::nullopt), std::nullopt);
}

TEST_F(VexCfgTest, AReloadThatFailsLeavesNoContents) {
  const auto file = VexCfg::init();
  ASSERT_EQ(file->pCfgDict(), kDefaults);
  world.files.files[kSettingsFile] = std::nullopt;
  file->reLoadCfgFile();
  EXPECT_EQ(file->pCfgDict(), std::nullopt);
  EXPECT_EQ(file->getObjectByKey(kAutoDisconnectKey), std::nullopt);
  world.files.files[kSettingsFile] = kDefaults;
  file->loadCfgFile();
  EXPECT_EQ(file->pCfgDict(), kDefaults);
}

TEST_F(VexCfgTest, WithoutAFileAChangeIsNeitherWrittenNorLost) {
  const auto file = VexCfg::init();
  file->setObjectByKey(kAutoDisconnectKey, PropertyListValue{false});
  file->setFileExist(false);
  file->saveCfgFile();
  file->reLoadCfgFile();
  EXPECT_EQ(world.files.writes, 0);
  EXPECT_TRUE(file->fileModified());
  file->setFileExist(true);
  file->saveCfgFile();
  EXPECT_EQ(world.files.files[kSettingsFile]->at(kAutoDisconnectKey), PropertyListValue{false});
}

}  // namespace
}  // namespace tessel::test
