// A save interrupted by a power cut at any step leaves the old or the new
// file, whole; a save that reported success survives the cut.
#include <gtest/gtest.h>

#include <string>

#include "BlobFile.h"
#include "support/FaultEnv.h"
#include "support/TestSupport.h"

namespace {

// Writes the first version of the file, then edits and saves it under `env`.
std::string MakeOriginal(const std::string& path) {
  CTestBlobFile f;
  EXPECT_EQ(f.Open(path, OpenCreate), 1);
  EXPECT_EQ(f.SetCommentsString("old"), 1);
  EXPECT_EQ(f.AddBlob(3000, 1), 2);
  EXPECT_EQ(f.Update(), 1) << f.GetPtrToErrorString();
  return n4test::ReadFile(path);
}

int EditAndSave(const std::string& path) {
  CTestBlobFile f;
  if (f.Open(path, OpenModify) != 1) return 0;
  f.SetCommentsString("new and longer than before");
  f.AddBlob(5000, 2);
  return f.Update();
}

TEST(RiffPowerCut, EveryStepOfASaveLeavesTheOldOrTheNewFile) {
  for (bool otherVolume : {false, true}) {
    SCOPED_TRACE(otherVolume ? "temporary files on another volume" : "one volume");
    std::string before;
    std::string after;
    {
      // The same edit, uninterrupted, gives the new content.
      n4test::ScopedFaultEnv faults;
      n4test::TempDir dir;
      const std::string path = dir.File("a.tst");
      before = MakeOriginal(path);
      ASSERT_EQ(EditAndSave(path), 1);
      after = n4test::ReadFile(path);
      ASSERT_NE(before, after);
    }
    for (int steps = 0;; ++steps) {
      SCOPED_TRACE("power cut after " + std::to_string(steps) + " steps");
      n4test::ScopedFaultEnv faults;
      n4test::TempDir dir;
      const std::string path = dir.File("a.tst");
      ASSERT_EQ(MakeOriginal(path), before);
      faults.env.directoriesAreVolumes = otherVolume;
      faults.env.TrackDurability(dir.path());
      faults.env.TrackDurability(faults.tmp.path());
      faults.env.CutPowerAfter(steps);
      const int saved = EditAndSave(path);
      const bool cut = faults.env.PowerWasCut();
      faults.env.PowerCut();
      const std::string now = n4test::ReadFile(path);
      if (saved) {
        EXPECT_EQ(now, after) << "a save that reported success was lost";
      } else {
        EXPECT_TRUE(now == before || now == after) << "torn file of " << now.size() << " bytes";
      }
      if (!cut) break;  // the whole save ran before the cut
      ASSERT_LT(steps, 200);
    }
  }
}

}  // namespace
