#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "n4file/Registry.h"
#include "registry/StoreSelection.h"
#include "registry/RegFormat.h"
#include "registry/Utf16.h"
#include "support/DataFiles.h"
#include "RegistryTestEnv.h"

namespace {

using n4test::ReadFile;
using n4test::WriteFile;

constexpr const char* kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";
constexpr const char* kV5 = "[HKEY_LOCAL_MACHINE\\Software\\Korvandexa\\Lyrae4000\\V5.0";

class RegistryTest : public ::testing::Test {
 protected:
  RegistryTest() : env_(dir_.path()), scoped_(&env_) {}

  std::string MachineFile() const { return dir_.File("HKEY_LOCAL_MACHINE.reg"); }
  std::string UserFile() const { return dir_.File("HKEY_CURRENT_USER.reg"); }
  // Writes the machine file as 8-bit text.
  void Machine(const std::string& body) { WriteFile(MachineFile(), kHeader + body); }

  n4test::TempDir dir_;
  n4test::RegistryDirEnv env_;
  n4::ScopedEnv scoped_;
};

TEST(BuildRegistryKey, AppendsASubkeyWithoutASection) {
  EXPECT_EQ(CN4Registry::BuildRegistryKey(nullptr, "Date Names"), "Software\\Korvandexa\\Lyrae4000\\V5.0\\Date Names");
}

TEST_F(RegistryTest, ReadsAWindowsExportAndKeepsItWhenWritten) {
  const std::string original = ReadFile(n4test::FixturePath("windows-export.reg"));
  WriteFile(MachineFile(), original);

  std::string path;
  EXPECT_EQ(CN4Registry::GetDataPath(path), 1);
  EXPECT_EQ(path, "D:\\N4000\\Data");
  EXPECT_EQ(CN4Registry::GetExePath(path), 1);
  EXPECT_EQ(path, "C:\\Program Files\\Korvandexa\\Lyrae 4000");
  std::string database;
  EXPECT_EQ(CN4Registry::GetGroupingDatabaseName(&database), 1);
  EXPECT_EQ(database, "Signs.mdb");

  CN4Registry reg;
  std::string month;
  ASSERT_EQ(reg.OpenDateNamesRegistryKey(nullptr), 1);
  EXPECT_EQ(reg.GetRegistryString(CN4Registry::GetMonthAbbrValueName(3).c_str(), month), 1);
  EXPECT_EQ(month, "Mar");
  ASSERT_EQ(reg.OpenDateNamesRegistryKey("Français"), 1);
  EXPECT_EQ(reg.GetRegistryString("Month_Abbr2", month), 1);
  EXPECT_EQ(month, "févr");
  EXPECT_EQ(reg.OpenDateNamesRegistryKey("Deutsch"), 0);

  ASSERT_EQ(reg.OpenMachineRegistryKey("Sign Control"), 1);
  unsigned long poll = 0;
  EXPECT_EQ(reg.GetRegistryDword("PollInterval", &poll), 1);
  EXPECT_EQ(poll, 1000u);
  BYTE table[64] = {};
  EXPECT_EQ(reg.GetRegistryBinary("ColorTable", table, sizeof table), 1);
  EXPECT_EQ(table[63], 0xfc);
  EXPECT_EQ(reg.GetRegistryBinary("ColorTable", table, sizeof table - 1), 0);
  // Each accessor insists on its own type.
  char text[64];
  EXPECT_EQ(reg.GetRegistryString("PollInterval", text, sizeof text), 0);
  EXPECT_EQ(reg.GetRegistryDword("Empty", &poll), 0);
  EXPECT_EQ(reg.GetRegistryBinary("SearchPath", table, sizeof table), 0);
  EXPECT_EQ(reg.GetRegistryString("SearchPath", text, sizeof text), 0);
  EXPECT_EQ(reg.GetRegistryString("Missing", text, sizeof text), 0);
  // "" is a text of one character, its terminator; it reads as the empty text.
  month = "x";
  EXPECT_EQ(reg.GetRegistryString("Empty", month), 1);
  EXPECT_EQ(month, "");
  // Opened for reading: no writes.
  EXPECT_EQ(reg.SetRegistryString("New", "value"), 0);

  // A write adds its value and leaves every other byte of the export alone.
  ASSERT_EQ(reg.CreateMachineRegistryKey("Grouping"), 1);
  ASSERT_EQ(reg.SetRegistryString("Backup", "Signs.bak"), 1);
  std::string expected = original;
  const std::string anchor = n4::Utf8ToUtf16Le("\"Database\"=\"Signs.mdb\"\r\n");
  expected.insert(expected.find(anchor) + anchor.size(),
                  n4::Utf8ToUtf16Le("\"Backup\"=\"Signs.bak\"\r\n"));
  EXPECT_EQ(ReadFile(MachineFile()), expected);
  EXPECT_FALSE(n4test::Exists(UserFile()));
}

TEST_F(RegistryTest, ValuesRoundTripThroughTheStore) {
  CN4Registry reg;
  ASSERT_EQ(reg.CreateUserRegistryKey("Window Settings", "Preview"), 1);
  unsigned long number = 0xDEADBEEF;
  EXPECT_EQ(reg.SetRegistryDword("Left", &number), 1);
  EXPECT_EQ(reg.SetRegistryString("Title", "Vorschau – Süd"), 1);
  EXPECT_EQ(reg.SetRegistryString(nullptr, "default"), 1);
  const BYTE blob[] = {0, 1, 2, 0xff};
  EXPECT_EQ(reg.SetRegistryBinary("Blob", blob, sizeof blob), 1);
  EXPECT_EQ(reg.SetRegistryString("Title", nullptr), 0);
  EXPECT_EQ(reg.SetRegistryDword("Left", nullptr), 0);

  CN4Registry other;
  ASSERT_EQ(other.OpenUserRegistryKey("WINDOW SETTINGS", "preview"), 1);
  unsigned long read = 0;
  EXPECT_EQ(other.GetRegistryDword("left", &read), 1);
  EXPECT_EQ(read, 0xDEADBEEFu);
  std::string text;
  EXPECT_EQ(other.GetRegistryString("Title", text), 1);
  EXPECT_EQ(text, "Vorschau – Süd");
  EXPECT_EQ(other.GetRegistryString(nullptr, text), 1);
  EXPECT_EQ(text, "default");
  BYTE back[4] = {};
  EXPECT_EQ(other.GetRegistryBinary("Blob", back, sizeof back), 1);
  EXPECT_EQ(std::memcmp(back, blob, sizeof blob), 0);
  // The text is kept in UTF-16 in the user's file, not in the machine's.
  EXPECT_NE(ReadFile(UserFile()).find(n4::Utf8ToUtf16Le("\"Title\"=\"Vorschau – Süd\"")),
            std::string::npos);
  EXPECT_FALSE(n4test::Exists(MachineFile()));
  EXPECT_EQ(other.OpenMachineRegistryKey("Window Settings", "Preview"), 0);
}

TEST_F(RegistryTest, StringBufferReadsAlwaysEndTerminated) {
  Machine(std::string(kV5) + "\\S]\r\n\"four\"=\"abcd\"\r\n\"bare\"=hex(1):61,00,62,00\r\n"
          "\"none\"=hex(1):\r\n");
  CN4Registry reg;
  ASSERT_EQ(reg.OpenMachineRegistryKey("S"), 1);
  char buf[8];
  std::memset(buf, 'x', sizeof buf);
  EXPECT_EQ(reg.GetRegistryString("four", buf, 5), 1);
  EXPECT_STREQ(buf, "abcd");
  EXPECT_EQ(reg.GetRegistryString("four", buf, 4), 0);
  // A stored text without terminator gets one when there is room.
  std::memset(buf, 'x', sizeof buf);
  EXPECT_EQ(reg.GetRegistryString("bare", buf, 3), 1);
  EXPECT_STREQ(buf, "ab");
  EXPECT_EQ(reg.GetRegistryString("bare", buf, 2), 0);
  std::string text = "kept";
  EXPECT_EQ(reg.GetRegistryString("bare", text), 1);
  EXPECT_EQ(text, "ab");
  // A text with no bytes at all counts as missing for the text form.
  text = "kept";
  EXPECT_EQ(reg.GetRegistryString("none", text), 0);
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(reg.GetRegistryString("four", nullptr, 8), 0);
}

TEST_F(RegistryTest, DataPathLosesOneTrailingSeparatorAndFallsBackToTheDefault) {
  for (const auto& c : n4test::ReadCases("registry/data-paths.tsv")) {
    SCOPED_TRACE(c[0].text);
    Machine(std::string(kV5) + "\\File Locations]\r\n" + c[0].text + "\r\n");
    const int result = std::stoi(c[1].text);
    const std::string path = c[2].text == "<default>" ? CN4Registry::GetDefaultDirectory() : c[2].text;
    char buf[261];
    std::strcpy(buf, "untouched");
    EXPECT_EQ(CN4Registry::GetDataPath(buf, sizeof buf), result);
    EXPECT_EQ(buf, path);
    std::string text = "untouched";
    EXPECT_EQ(CN4Registry::GetDataPath(text), result);
    EXPECT_EQ(text, path);
  }
  const bool windows = n4::Env::Default()->PathSeparator() == '\\';
  EXPECT_STREQ(CN4Registry::GetDefaultDirectory(), windows ? "C:\\N4000" : "/var/lib/n4000");

  // The default is cut to fit a small buffer rather than overrun it.
  char small[5];
  EXPECT_EQ(CN4Registry::GetExePath(small, sizeof small), 0);
  EXPECT_STREQ(small, windows ? "C:\\N" : "/var");

  // Without the section, nothing is written and 0 is returned.
  Machine(std::string(kV5) + "\\Grouping]\r\n");
  char buf[16];
  std::strcpy(buf, "untouched");
  EXPECT_EQ(CN4Registry::GetDataPath(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "untouched");
  std::string text = "untouched";
  EXPECT_EQ(CN4Registry::GetExePath(text), 0);
  EXPECT_EQ(text, "untouched");
  std::string name = "untouched";
  EXPECT_EQ(CN4Registry::GetGroupingDatabaseName(&name), 0);
  EXPECT_EQ(name, "untouched");
  EXPECT_EQ(CN4Registry::GetGroupingDatabaseName(nullptr), 0);
}

TEST_F(RegistryTest, KeyHandlingRefusesBadArgumentsAndClosesTheHeldKey) {
  Machine(std::string(kV5) + "\\A]\r\n\"v\"=\"a\"\r\n\r\n" + kV5 + "\\B]\r\n\"v\"=\"b\"\r\n");
  CN4Registry reg;
  const std::string a = CN4Registry::BuildRegistryKey("A");
  EXPECT_EQ(reg.OpenRegistryKey(nullptr, a.c_str(), KEY_READ), 0);
  EXPECT_EQ(reg.OpenRegistryKey(HKEY_LOCAL_MACHINE, nullptr, KEY_READ), 0);
  EXPECT_EQ(reg.OpenRegistryKey(HKEY_LOCAL_MACHINE, ("\\" + a).c_str(), KEY_READ), 0);
  EXPECT_EQ(reg.CreateRegistryKey(HKEY_LOCAL_MACHINE, "\\New", KEY_ALL_ACCESS), 0);
  EXPECT_EQ(reg.CreateRegistryKey(HKEY_LOCAL_MACHINE, nullptr, KEY_ALL_ACCESS), 0);
  EXPECT_EQ(reg.GetRegistryKey(), nullptr);
  unsigned long n = 0;
  std::string text;
  EXPECT_EQ(reg.GetRegistryDword("v", &n), 0);
  EXPECT_EQ(reg.GetRegistryString("v", text), 0);
  EXPECT_EQ(reg.SetRegistryString("v", "x"), 0);
  EXPECT_EQ(reg.CloseRegistryKey(), 1);

  ASSERT_EQ(reg.OpenRegistryKey(HKEY_LOCAL_MACHINE, a.c_str(), KEY_READ), 1);
  HKEY first = reg.GetRegistryKey();
  ASSERT_EQ(reg.OpenMachineRegistryKey("B"), 1);
  EXPECT_EQ(reg.GetRegistryString("v", text), 1);
  EXPECT_EQ(text, "b");
  // The first key was closed: its handle no longer works.
  EXPECT_EQ(CN4Registry::GetRegistryString(first, "v", text), 0);
  // A failed open leaves no key held.
  EXPECT_EQ(reg.OpenMachineRegistryKey("Missing"), 0);
  EXPECT_EQ(reg.GetRegistryKey(), nullptr);
  EXPECT_EQ(CN4Registry::GetRegistryString(nullptr, "v", text), 0);
}

// The file store, but it can refuse to close.
class StubbornStore : public n4::FileRegistryStore {
 public:
  StubbornStore() : FileRegistryStore(n4::LocateRegistryFile) {}
  LONG CloseKey(HKEY key) override { return refuseClose ? n4::kRegInvalidHandle : FileRegistryStore::CloseKey(key); }
  bool refuseClose = true;
};

TEST_F(RegistryTest, AFailedCloseKeepsTheHandle) {
  StubbornStore store;
  n4::ScopedRegistryStore scoped(&store);
  CN4Registry reg;
  ASSERT_EQ(reg.CreateUserRegistryKey("X"), 1);
  HKEY held = reg.GetRegistryKey();
  EXPECT_EQ(reg.CloseRegistryKey(), 0);
  EXPECT_EQ(reg.GetRegistryKey(), held);
  store.refuseClose = false;
  EXPECT_EQ(reg.CloseRegistryKey(), 1);
  EXPECT_EQ(reg.GetRegistryKey(), nullptr);
}

TEST_F(RegistryTest, ADamagedStoreFailsAndIsNeverOverwritten) {
  const std::string valid = ReadFile(n4test::FixturePath("windows-export.reg"));
  const std::string damaged[] = {
      valid.substr(0, valid.size() / 2 + 1),                  // cut inside a character
      valid.substr(0, valid.find(n4::Utf8ToUtf16Le("00,74,00"))),  // cut inside a hex list
      "\xff\xfe" + n4::Utf8ToUtf16Le("Windows Registry Editor Version 5.00\r\n\r\ngarbage\r\n"),
      std::string(300, '\0'),
  };
  for (const auto& bytes : damaged) {
    WriteFile(MachineFile(), bytes);
    CN4Registry reg;
    EXPECT_EQ(reg.OpenMachineRegistryKey("File Locations"), 0);
    EXPECT_EQ(reg.CreateMachineRegistryKey("File Locations"), 0);
    char buf[64];
    std::strcpy(buf, "untouched");
    EXPECT_EQ(CN4Registry::GetDataPath(buf, sizeof buf), 0);
    EXPECT_STREQ(buf, "untouched");
    EXPECT_EQ(ReadFile(MachineFile()), bytes);
  }

  // A key opened while the file was sound cannot write into it once damaged.
  WriteFile(MachineFile(), valid);
  CN4Registry reg;
  ASSERT_EQ(reg.CreateMachineRegistryKey("Grouping"), 1);
  WriteFile(MachineFile(), damaged[1]);
  EXPECT_EQ(reg.SetRegistryString("Database", "other.mdb"), 0);
  EXPECT_EQ(ReadFile(MachineFile()), damaged[1]);
  // The user's store is a separate file and still works.
  EXPECT_EQ(reg.CreateUserRegistryKey("Grouping"), 1);
  EXPECT_EQ(reg.SetRegistryString("Database", "other.mdb"), 1);
}

TEST_F(RegistryTest, AFailedWriteLeavesTheStoreAsItWas) {
  Machine(std::string(kV5) + "\\Grouping]\r\n\"Database\"=\"a.mdb\"\r\n");
  const std::string before = ReadFile(MachineFile());
  CN4Registry reg;
  ASSERT_EQ(reg.CreateMachineRegistryKey("Grouping"), 1);
  env_.writeFailure = n4::kErrDiskFull;
  EXPECT_EQ(reg.SetRegistryString("Database", "b.mdb"), 0);
  EXPECT_EQ(reg.CreateMachineRegistryKey("New"), 0);
  EXPECT_EQ(ReadFile(MachineFile()), before);
  env_.writeFailure = 0;
  std::string name;
  EXPECT_EQ(CN4Registry::GetGroupingDatabaseName(&name), 1);
  EXPECT_EQ(name, "a.mdb");
}

TEST_F(RegistryTest, AKeyDeletedByAnotherWriterIsNotResurrected) {
  Machine(std::string(kV5) + "\\Gone]\r\n\"v\"=\"1\"\r\n");
  CN4Registry reg;
  ASSERT_EQ(reg.CreateMachineRegistryKey("Gone"), 1);
  Machine(std::string(kV5) + "\\Other]\r\n");
  std::string text;
  EXPECT_EQ(reg.GetRegistryString("v", text), 0);
  EXPECT_EQ(reg.SetRegistryString("v", "2"), 0);
  EXPECT_EQ(reg.OpenMachineRegistryKey("Gone"), 0);
}

TEST_F(RegistryTest, CreatesMissingDirectoriesAndRefusesUnwritableNames) {
  n4test::RegistryDirEnv nested(dir_.File("a/b/c"));
  n4::ScopedEnv scoped(&nested);
  CN4Registry reg;
  ASSERT_EQ(reg.CreateMachineRegistryKey("Signs"), 1);
  EXPECT_TRUE(n4test::Exists(dir_.File("a/b/c/HKEY_LOCAL_MACHINE.reg")));
  // A line break in a name would split the file's line.
  EXPECT_EQ(reg.SetRegistryString("two\nlines", "x"), 0);
  EXPECT_EQ(reg.CreateMachineRegistryKey("two\r\nlines"), 0);
  // A line break in a text value is kept.
  ASSERT_EQ(reg.CreateMachineRegistryKey("Signs"), 1);
  EXPECT_EQ(reg.SetRegistryString("Note", "one\r\ntwo"), 1);
  std::string text;
  EXPECT_EQ(reg.GetRegistryString("Note", text), 1);
  EXPECT_EQ(text, "one\r\ntwo");
}

// No registry directory set: the user's file goes to the configuration directory.
TEST(RegistryDefaults, TheUserStoreLivesInTheConfigurationDirectory) {
  n4test::TempDir dir;
  n4test::RegistryDirEnv env("", dir.path());
  n4::ScopedEnv scoped(&env);
  CN4Registry reg;
  ASSERT_EQ(reg.CreateUserRegistryKey("Window Settings"), 1);
  EXPECT_TRUE(n4test::Exists(dir.File("n4000/HKEY_CURRENT_USER.reg")));
}

TEST_F(RegistryTest, ExportFilesImportBackIntoTheRightRoots) {
  CN4Registry reg;
  ASSERT_EQ(reg.CreateMachineRegistryKey("File Locations"), 1);
  ASSERT_EQ(reg.SetRegistryString("DataPath", "/srv/n4000"), 1);
  ASSERT_EQ(reg.CreateUserRegistryKey("Window Settings"), 1);
  unsigned long width = 640;
  ASSERT_EQ(reg.SetRegistryDword("Width", &width), 1);
  reg.CloseRegistryKey();

  std::string error;
  const std::string machine = dir_.File("machine.reg"), user = dir_.File("user.reg");
  ASSERT_EQ(n4::ExportRegistryFile(HKEY_LOCAL_MACHINE, CN4Registry::BuildRegistryKey(), machine, &error), 1) << error;
  ASSERT_EQ(n4::ExportRegistryFile(HKEY_CURRENT_USER, CN4Registry::BuildRegistryKey(), user, &error), 1) << error;
  EXPECT_EQ(n4::ExportRegistryFile(HKEY_LOCAL_MACHINE, "Software\\Nobody", machine + "2", &error), 0);
  EXPECT_EQ(error, "no such key");

  std::remove(MachineFile().c_str());
  std::remove(UserFile().c_str());
  ASSERT_EQ(n4::ImportRegistryFile(machine, &error), 1) << error;
  ASSERT_EQ(n4::ImportRegistryFile(user, &error), 1) << error;
  std::string path;
  EXPECT_EQ(CN4Registry::GetDataPath(path), 1);
  EXPECT_EQ(path, "/srv/n4000");
  ASSERT_EQ(reg.OpenUserRegistryKey("Window Settings"), 1);
  width = 0;
  EXPECT_EQ(reg.GetRegistryDword("Width", &width), 1);
  EXPECT_EQ(width, 640u);
  // Each root's file holds its own root only.
  std::string wide;
  for (char c : std::string("HKEY_CURRENT_USER")) wide += std::string{c, '\0'};
  EXPECT_EQ(ReadFile(MachineFile()).find(wide), std::string::npos);
  EXPECT_NE(ReadFile(UserFile()).find(wide), std::string::npos);
}

TEST_F(RegistryTest, ABadImportChangesNothing) {
  Machine("[HKEY_LOCAL_MACHINE\\Software\\Korvandexa\\Lyrae4000\\V5.0\\File Locations]\n\"DataPath\"=\"/a\"\n");
  const std::string before = ReadFile(MachineFile());
  const std::string bad = dir_.File("bad.reg");
  WriteFile(bad, std::string(kHeader) + "[HKEY_LOCAL_MACHINE\\Software\\X]\n\"v\"=dword:zz\n");
  std::string error;
  EXPECT_EQ(n4::ImportRegistryFile(bad, &error), 0);
  EXPECT_NE(error.find("line"), std::string::npos) << error;
  EXPECT_EQ(ReadFile(MachineFile()), before);
  EXPECT_EQ(n4::ImportRegistryFile(dir_.File("missing.reg"), &error), 0);
}

}  // namespace
