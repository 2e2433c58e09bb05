// The operating system's registry behind the store interface: present on
// Windows and used by default there, absent elsewhere (the .reg files stand in).
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/Env.h"
#include "platform/RegistryStore.h"
#include "registry/StoreSelection.h"

namespace {

TEST(SystemRegistry, IsTheDefaultStoreExactlyWhereTheSystemHasOne) {
  n4::RegistryStore* system = n4::SystemRegistryStore();
  const bool windows = n4::Env::Default()->PathSeparator() == '\\';
  EXPECT_EQ(system != nullptr, windows);
  if (system) {
    EXPECT_EQ(n4::DefaultRegistryStore(), system);
  }
}

// One fixed key of the user's, rewritten by every run, so that repeated runs
// on a real machine leave nothing behind but it.
TEST(SystemRegistry, KeepsStringsAndNumbersAndReportsMissingOnes) {
  n4::RegistryStore* system = n4::SystemRegistryStore();
  if (!system) return;  // nothing to test: no system registry here
  HKEY key = nullptr;
  const DWORD access = n4::kRegKeySetValue | n4::kRegKeyQueryValue;
  ASSERT_EQ(system->CreateKey(HKEY_CURRENT_USER, "Software\\N4FILE tests\\Store", access, &key), n4::kRegSuccess);
  const char text[] = "C:\\N4000\\Data";
  const DWORD number = 0x01020304;
  EXPECT_EQ(system->SetValue(key, "Text", REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof text), n4::kRegSuccess);
  EXPECT_EQ(system->SetValue(key, "Number", REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number),
            n4::kRegSuccess);
  EXPECT_EQ(system->CloseKey(key), n4::kRegSuccess);

  ASSERT_EQ(system->OpenKey(HKEY_CURRENT_USER, "Software\\N4FILE tests\\Store", n4::kRegKeyQueryValue, &key),
            n4::kRegSuccess);
  DWORD type = 0;
  char back[64] = {};
  DWORD size = sizeof back;
  EXPECT_EQ(system->QueryValue(key, "Text", &type, reinterpret_cast<BYTE*>(back), &size), n4::kRegSuccess);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_STREQ(back, text);
  DWORD readNumber = 0;
  size = sizeof readNumber;
  EXPECT_EQ(system->QueryValue(key, "Number", &type, reinterpret_cast<BYTE*>(&readNumber), &size), n4::kRegSuccess);
  EXPECT_EQ(readNumber, number);
  size = 2;
  EXPECT_EQ(system->QueryValue(key, "Text", &type, reinterpret_cast<BYTE*>(back), &size), n4::kRegMoreData);
  EXPECT_EQ(size, static_cast<DWORD>(sizeof text));
  EXPECT_EQ(system->QueryValue(key, "Missing", &type, nullptr, &size), n4::kRegNotFound);
  EXPECT_EQ(system->CloseKey(key), n4::kRegSuccess);

  EXPECT_EQ(system->OpenKey(HKEY_CURRENT_USER, "Software\\N4FILE tests\\Missing", n4::kRegKeyQueryValue, &key),
            n4::kRegNotFound);
}

}  // namespace
