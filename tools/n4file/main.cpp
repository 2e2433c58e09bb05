// n4file: command-line access to N4FILE files.
//
// For now it demonstrates the RIFF container: `n4file demo PATH` creates a
// file with the library, reopens it read-only and lists its chunks.
#include <cstdio>
#include <cstring>
#include <string>

#include <n4file/RiffFile.h>

namespace {

std::string FourccText(DWORD code) {
  std::string s;
  for (int i = 0; i < 4; ++i) {
    char c = static_cast<char>((code >> (8 * i)) & 0xFF);
    s += (c >= 32 && c < 127) ? c : '.';
  }
  return s;
}

int ListChunks(const char* path) {
  CN4RiffFile file;
  if (!file.Open(path, OpenReadOnly, 0)) {
    std::fprintf(stderr, "n4file: cannot open %s: %s (error %u)\n", path, file.GetPtrToErrorString(),
                 file.GetLastFileError());
    return 1;
  }
  std::printf("%s: RIFF form '%s', %u bytes mapped\n", path, FourccText(file.Type()).c_str(),
              file.GetMappingSize());
  for (int i = 0;; ++i) {
    CN4RiffChunk* object = file.GetObject(i);
    if (!object) break;
    std::printf("  object %d: '%s' %u bytes (%s)\n", i, FourccText(object->Type()).c_str(),
                object->GetSize(), object->GetRuntimeClass()->m_lpszClassName);
  }
  std::printf("  comments: \"%s\"\n  software: \"%s\"\n  created:  \"%s\"\n", file.GetPtrToComments(),
              file.GetPtrToSoftware(), file.GetPtrToCreationDate());
  if (tag_N4_RIFF_FILE_DATA* hdr = file.RiffHdr()) {
    std::printf("  header: format %u.%u, saved as %u.%u, %u objects, compression %u\n", hdr->wCreatedMajor,
                hdr->wCreatedMinor, hdr->wSavedMajor, hdr->wSavedMinor, hdr->dwObjectCount,
                hdr->dwCompression);
  }
  return 0;
}

int Demo(const char* path) {
  CN4RiffFile file;
  if (!file.Open(path, OpenCreate, n4::MakeFourCC("demo"))) {
    std::fprintf(stderr, "n4file: cannot create %s: %s\n", path, file.GetPtrToErrorString());
    return 1;
  }
  file.SetCommentsString("created by n4file demo");
  file.SetSoftwareString("n4file");
  if (!file.Update()) {
    std::fprintf(stderr, "n4file: cannot save %s: %s\n", path, file.GetPtrToErrorString());
    return 1;
  }
  file.Close();
  std::printf("created %s\n", path);
  return ListChunks(path);
}

void Usage() {
  std::fprintf(stderr,
               "usage: n4file demo PATH    create a RIFF file and list it\n"
               "       n4file list PATH    list the chunks of a RIFF file\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "demo") == 0) return Demo(argv[2]);
  if (argc == 3 && std::strcmp(argv[1], "list") == 0) return ListChunks(argv[2]);
  Usage();
  return 2;
}
