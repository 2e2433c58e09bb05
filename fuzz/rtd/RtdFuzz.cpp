// libFuzzer target for real-time data configuration files: the input is a
// file's bytes, loaded as ReadFile loads them. Loading may raise the archive
// exception but must not crash, leak or allocate beyond what the bytes can
// hold; whatever was loaded must store, load back whole and store again to
// the same bytes.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "archive/Archive.h"
#include "archive/ArchiveFile.h"
#include "n4file/Rtd.h"

namespace {

std::string Store(CN4FileCRtd& rtd) {
  n4::ArchiveFile file;
  file.OpenForStoring("stored");
  n4::Archive ar(file, n4::Archive::store);
  rtd.Serialize(ar);
  ar.Close();
  return file.Bytes();
}

void Load(CN4FileCRtd& rtd, std::string bytes) {
  n4::ArchiveFile file;
  file.OpenBytes(std::move(bytes), "input");
  n4::Archive ar(file, n4::Archive::load);
  rtd.Serialize(ar);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CN4FileCRtd rtd;
  try {
    Load(rtd, std::string(reinterpret_cast<const char*>(data), size));
  } catch (const n4::ArchiveException&) {
    // Records read before the damage stay and must store like any others.
  }
  for (int i = 0; i < rtd.GetTransCount(); ++i) {
    CN4FileCRtdTrans copy(*rtd.GetTransPtr(i));
    for (int k = 0; k < copy.GetSyncCount(); ++k) (void)copy.GetSyncPtr(k)->GetDescription();
  }
  for (int i = 0; i < rtd.GetOutputCount(); ++i) (void)(*rtd.GetOutputPtr(i) == *rtd.GetInputPtr());

  const std::string stored = Store(rtd);
  CN4FileCRtd again;
  Load(again, stored);  // must not throw
  if (Store(again) != stored) std::abort();
  return 0;
}
