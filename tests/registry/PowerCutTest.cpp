// A change of the .reg store interrupted by a power cut at any step leaves
// the old or the new store, whole; a change that reported success survives.
#include <gtest/gtest.h>

#include <string>

#include "n4file/Registry.h"
#include "RegistryTestEnv.h"
#include "support/FaultEnv.h"

namespace {

TEST(RegistryPowerCut, EveryStepOfAWriteLeavesTheOldOrTheNewStore) {
  for (int steps = 0;; ++steps) {
    SCOPED_TRACE("power cut after " + std::to_string(steps) + " steps");
    n4test::TempDir dir;
    n4test::RegistryDirEnv registryDir(dir.path());
    n4::ScopedEnv useDir(&registryDir);
    n4test::FaultEnv faults;
    n4::ScopedEnv useFaults(&faults);
    {
      CN4Registry reg;
      ASSERT_EQ(reg.CreateMachineRegistryKey("Grouping"), 1);
      ASSERT_EQ(reg.SetRegistryString("Database", "old.mdb"), 1);
    }
    faults.TrackDurability(dir.path());
    faults.CutPowerAfter(steps);
    int written = 0;
    {
      CN4Registry reg;
      if (reg.CreateMachineRegistryKey("Grouping")) written = reg.SetRegistryString("Database", "new.mdb");
    }
    const bool cut = faults.PowerWasCut();
    faults.PowerCut();
    std::string name;
    ASSERT_EQ(CN4Registry::GetGroupingDatabaseName(&name), 1) << "the store no longer reads";
    if (written) {
      EXPECT_EQ(name, "new.mdb") << "a write that reported success was lost";
    } else {
      EXPECT_TRUE(name == "old.mdb" || name == "new.mdb") << name;
    }
    if (!cut) break;
    ASSERT_LT(steps, 100);
  }
}

}  // namespace
