// CN4Registry: the directories and names other parts of the library look up.
#include <cstdio>
#include <cstring>
#include <vector>

#include "n4file/Registry.h"
#include "platform/Env.h"

namespace {

// The buffer the text forms hand to the buffer forms: 0x105 characters and
// a terminator, room for the longest Windows path.
constexpr unsigned long kPathCapacity = 0x105;

void CopyBounded(char* buffer, unsigned long size, const char* text) {
  if (size == 0) return;
  std::size_t n = std::strlen(text);
  if (n > size - 1) n = size - 1;
  std::memcpy(buffer, text, n);
  buffer[n] = '\0';
}

int ReadDirectoryValue(const char* valueName, char* buffer, unsigned long size) {
  if (buffer == nullptr) return 0;
  CN4Registry registry;
  if (!registry.OpenMachineRegistryKey("File Locations")) return 0;
  if (!registry.GetRegistryString(valueName, buffer, size)) {
    CopyBounded(buffer, size, CN4Registry::GetDefaultDirectory());
    return 0;
  }
  // One separator only: a stored "D:\Data\\" keeps one of its two. "/" alone
  // is the POSIX root and stays.
  std::size_t n = std::strlen(buffer);
  if (n > 0 && (buffer[n - 1] == '\\' || (buffer[n - 1] == '/' && n > 1))) buffer[n - 1] = '\0';
  registry.CloseRegistryKey();
  return 1;
}

int ReadDirectoryValue(const char* valueName, std::string& path) {
  std::vector<char> buffer(kPathCapacity + 1, '\0');
  CopyBounded(buffer.data(), kPathCapacity + 1, path.c_str());
  int result = ReadDirectoryValue(valueName, buffer.data(), kPathCapacity + 1);
  path.assign(buffer.data());
  return result;
}

}  // namespace

// The one default data directory: "C:\N4000" where paths use backslashes
// (Windows), its documented equivalent elsewhere.
const char* CN4Registry::GetDefaultDirectory() {
  return n4::Env::Default()->PathSeparator() == '\\' ? "C:\\N4000" : "/var/lib/n4000";
}

int CN4Registry::GetDataPath(char* buffer, unsigned long size) {
  return ReadDirectoryValue("DataPath", buffer, size);
}

int CN4Registry::GetDataPath(std::string& path) { return ReadDirectoryValue("DataPath", path); }

int CN4Registry::GetExePath(char* buffer, unsigned long size) {
  return ReadDirectoryValue("ExePath", buffer, size);
}

int CN4Registry::GetExePath(std::string& path) { return ReadDirectoryValue("ExePath", path); }

int CN4Registry::GetGroupingDatabaseName(std::string* name) {
  if (name == nullptr) return 0;
  CN4Registry registry;
  if (!registry.OpenMachineRegistryKey("Grouping")) return 0;
  int result = registry.GetRegistryString("Database", *name);
  registry.CloseRegistryKey();
  return result;
}

int CN4Registry::OpenDateNamesRegistryKey(const char* language) {
  return OpenMachineRegistryKey(language != nullptr ? language : "English", "Date Names");
}

std::string CN4Registry::GetMonthAbbrValueName(int month) {
  char name[32];
  std::snprintf(name, sizeof name, "Month_Abbr%d", month);
  return name;
}
