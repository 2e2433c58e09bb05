// Names of new calibration files, and the read-only protection of old ones.
#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "calibration/CalibrationDate.h"
#include "n4file/Calibration.h"
#include "n4file/Registry.h"
#include "platform/Env.h"

namespace {

constexpr const char* kExtension = "CA4";

// "15Mar01" with the language's month abbreviation, or "15_03_01" when the
// language has no "Date Names" key (the month number in the middle field).
// Every caller builds its own text: nothing is shared between threads.
std::string DateText(const n4::CalendarDate& date, const char* language) {
  // The year's last two printed characters, read back as a number.
  std::string year = std::to_string(date.year);
  if (year.size() > 2) year.erase(0, year.size() - 2);
  const int shortYear = std::atoi(year.c_str());

  char day[16];
  char yy[16];
  std::snprintf(day, sizeof day, "%02d", date.day);
  std::snprintf(yy, sizeof yy, "%02d", shortYear);

  CN4Registry registry;
  if (registry.OpenDateNamesRegistryKey(language)) {
    // A missing abbreviation leaves the middle field empty.
    std::string month;
    registry.GetRegistryString(CN4Registry::GetMonthAbbrValueName(date.month).c_str(), month);
    return std::string(day) + month + yy;
  }
  char month[16];
  std::snprintf(month, sizeof month, "%02d", date.month);
  return std::string(day) + "_" + month + "_" + yy;
}

std::string FaceLabel(int face) {
  char label[16];
  if (face >= 1 && face <= 8) {
    std::snprintf(label, sizeof label, "F%c", static_cast<char>('A' + face - 1));
  } else {
    std::snprintf(label, sizeof label, "F%d", face);
  }
  return label;
}

bool EqualsIgnoringCase(const std::string& text, std::size_t at, const std::string& part) {
  for (std::size_t i = 0; i < part.size(); ++i) {
    const auto a = static_cast<unsigned char>(text[at + i]);
    const auto b = static_cast<unsigned char>(part[i]);
    if (std::tolower(a) != std::tolower(b)) return false;
  }
  return true;
}

// Whether `file` matches "<prefix>*<suffix>". Names are compared without
// regard to ASCII case, as the file systems calibration files come from do.
bool MatchesPattern(const std::string& file, const std::string& prefix, const std::string& suffix) {
  if (file.size() < prefix.size() + suffix.size()) return false;
  return EqualsIgnoringCase(file, 0, prefix) &&
         EqualsIgnoringCase(file, file.size() - suffix.size(), suffix);
}

// The revision number of "NAME.DATE.FACE[.EXTRA].Rnn.CA4": the field before
// the extension without its first character, read as the C library reads an
// integer (leading digits, else 0). A name without a further dot uses the
// whole text before the extension.
long long RevisionOf(const std::string& file) {
  const std::size_t ext = file.rfind('.');
  if (ext == std::string::npos) return 0;
  const std::string rest = file.substr(0, ext);
  const std::size_t dot = rest.rfind('.');
  std::string field;
  if (dot == std::string::npos) {
    field = rest;
  } else if (dot + 2 <= rest.size()) {
    field = rest.substr(dot + 2);
  }
  const long value = std::strtol(field.c_str(), nullptr, 10);
  return std::clamp<long>(value, INT_MIN, INT_MAX);
}

// The highest revision among the data directory's files of name, date and face.
long long HighestRevision(const std::string& prefix) {
  std::string dir = CN4Registry::GetDefaultDirectory();
  // Without the "File Locations" section dir keeps the default directory.
  CN4Registry::GetDataPath(dir);
  std::vector<std::string> names;
  n4::SysError err;
  if (!n4::Env::Default()->ListDirectory(dir, &names, &err)) return 0;
  const std::string suffix = std::string(".") + kExtension;
  long long highest = 0;
  for (const std::string& file : names) {
    if (MatchesPattern(file, prefix, suffix)) highest = std::max(highest, RevisionOf(file));
  }
  return highest;
}

// Characters that would split the extra text into more fields, or the name
// into a path, become "_".
std::string SafeField(const char* text) {
  std::string field = text;
  for (char& c : field) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7f || std::strchr(".\\/:*?\"<>|", c) != nullptr) c = '_';
  }
  return field;
}

void BuildName(char* out, const char* name, int face, const char* language, const char* extra) {
  if (out == nullptr) return;
  const std::string base = std::string(name != nullptr ? name : "") + "." +
                           DateText(n4::CalibrationToday(), language) + "." + FaceLabel(face) + ".";
  char revision[32];
  std::snprintf(revision, sizeof revision, "R%02lld", HighestRevision(base) + 1);
  std::string result = base;
  if (extra != nullptr && *extra != '\0') {
    result += 'E';
    result += SafeField(extra);
    result += '.';
  }
  result += revision;
  result += ".";
  result += kExtension;
  // The caller's buffer holds MAX_PATH characters; a longer name is not cut
  // into a different one.
  if (result.size() + 1 > MAX_PATH) result.clear();
  std::memcpy(out, result.c_str(), result.size() + 1);
}

}  // namespace

void CN4FileCalibration::CreateNewFileName(char* out, const char* name, int face, const char* language) {
  BuildName(out, name, face, language, nullptr);
}

void CN4FileCalibrationEx::CreateNewFileNameEx(char* out, const char* name, int face,
                                               const char* language, const char* extra) {
  BuildName(out, name, face, language, extra);
}

void CN4FileCalibration::SetReadOnly(const char* path, int bReadOnly) {
  if (path == nullptr || !bReadOnly) return;
  n4::SysError err;
  n4::Env::Default()->SetReadOnly(path, true, &err);
}
