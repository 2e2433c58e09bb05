// Uses the installed library the way an application would.
#include <cstdio>
#include <string_view>

#include <n4file/RiffFile.h>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  CN4RiffFile file;
  if (!file.Open(argv[1], OpenCreate, n4::MakeFourCC("test"))) return 1;
  if (!file.SetCommentsString("installed")) return 1;
  if (!file.Update()) return 1;
  file.Close();
  CN4RiffFile reader;
  if (!reader.Open(argv[1], OpenReadOnly, n4::MakeFourCC("test"))) return 1;
  return std::string_view(reader.GetPtrToComments()) == "installed" ? 0 : 1;
}
