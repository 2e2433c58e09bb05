// n4file: command-line access to N4FILE files.
//
// `n4file demo PATH` creates a RIFF file with the library, reopens it
// read-only and lists its chunks; `n4file list PATH` lists any RIFF file, and
// a sequence file frame by frame. The tool only parses arguments and calls
// the library.
#include <cstdio>
#include <cstring>
#include <string>

#include <n4file/RiffFile.h>
#include <n4file/SequenceFile.h>

namespace {

std::string FourccText(DWORD code) {
  std::string s;
  for (int i = 0; i < 4; ++i) {
    char c = static_cast<char>((code >> (8 * i)) & 0xFF);
    s += (c >= 32 && c < 127) ? c : '.';
  }
  return s;
}

const char* FrameKind(CN4Frame* frame) {
  if (!frame) return "?";
  return frame->GetRuntimeClass()->m_lpszClassName;
}

int ListSequence(const char* path) {
  CN4SequenceFile file;
  if (!file.Open(path, OpenReadOnly)) {
    std::fprintf(stderr, "n4file: %s is not a readable sequence: %s\n", path, file.GetPtrToErrorString());
    return 1;
  }
  tag_N4_SOS_FRM* sos = file.SosData();
  CN4Files names;
  std::printf("%s: sequence for a %u x %u sign, %s, pixel technology %s\n", path, sos->wWidth, sos->wHeight,
              names.ColorTechToString(static_cast<tag_N4_SIGN_COLOR>(sos->dwColorTech)).c_str(),
              names.PixelTechToString(static_cast<tag_N4_PIXEL_TECH>(sos->dwPixelTech)).c_str());
  std::printf("  software \"%s\", created %s, compression %s%s\n", file.GetPtrToSoftware(),
              file.GetPtrToCreationDate(), file.IsFileCompressionOn() ? "on" : "off",
              file.IsPreviewOnly() == 1 ? ", preview only" : "");
  const int count = file.FrameCount();
  for (int i = 1; i <= count; ++i) {
    CN4Frame* frame = file.Frame(i);
    std::printf("  frame %4d  %-14s", i, FrameKind(frame));
    if (auto* graphic = dynamic_cast<CN4GphFrame*>(frame)) {
      std::printf("  %s  (method %u, %u bytes)", CN4GphFrame::Describe(*graphic->GphHdr()).c_str(),
                  static_cast<unsigned>(graphic->GphHdr()->dwCompressMethod),
                  static_cast<unsigned>(graphic->GetBulbObj()->GetSize()));
    } else if (auto* command = dynamic_cast<CN4CmdFrame*>(frame)) {
      for (int c = 0; c < command->GetCommandCount(); ++c) {
        std::printf("%s\"%s\"", c ? ", " : "  ", command->GetPtrToCommandString(c));
      }
    }
    std::printf("\n");
  }
  std::printf("  %d frames, run time %.2f s\n", count, sos->dwRunTime / 1000.0);
  return 0;
}

int ListChunks(const char* path) {
  {
    CN4RiffFile probe;
    if (probe.Open(path, OpenReadOnly, 0) && probe.Type() == n4::kFourccSeq4) {
      probe.Close();
      return ListSequence(path);
    }
  }
  CN4RiffFile file;
  if (!file.Open(path, OpenReadOnly, 0)) {
    std::fprintf(stderr, "n4file: cannot open %s: %s (error %u)\n", path, file.GetPtrToErrorString(),
                 static_cast<unsigned>(file.GetLastFileError()));
    return 1;
  }
  std::printf("%s: RIFF form '%s', %u bytes mapped\n", path, FourccText(file.Type()).c_str(),
              static_cast<unsigned>(file.GetMappingSize()));
  for (int i = 0;; ++i) {
    CN4RiffChunk* object = file.GetObject(i);
    if (!object) break;
    std::printf("  object %d: '%s' %u bytes (%s)\n", i, FourccText(object->Type()).c_str(),
                static_cast<unsigned>(object->GetSize()), object->GetRuntimeClass()->m_lpszClassName);
  }
  std::printf("  comments: \"%s\"\n  software: \"%s\"\n  created:  \"%s\"\n", file.GetPtrToComments(),
              file.GetPtrToSoftware(), file.GetPtrToCreationDate());
  if (tag_N4_RIFF_FILE_DATA* hdr = file.RiffHdr()) {
    std::printf("  header: format %u.%u, saved as %u.%u, %u objects, compression %u\n", hdr->wCreatedMajor,
                hdr->wCreatedMinor, hdr->wSavedMajor, hdr->wSavedMinor,
                static_cast<unsigned>(hdr->dwObjectCount), static_cast<unsigned>(hdr->dwCompression));
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
               "       n4file list PATH    list the chunks of a RIFF file, or the frames of a sequence\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "demo") == 0) return Demo(argv[2]);
  if (argc == 3 && std::strcmp(argv[1], "list") == 0) return ListChunks(argv[2]);
  Usage();
  return 2;
}
