// `info` for any RIFF file: its chunks.
#include "RiffKind.h"

#include <cstdarg>
#include <cstring>

#include "Commands.h"

namespace n4tool {

std::string Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char buffer[512];
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return buffer;
}

std::string FourccText(DWORD code) {
  std::string s;
  for (int i = 0; i < 4; ++i) {
    const char c = static_cast<char>((code >> (8 * i)) & 0xFF);
    s += (c >= 32 && c < 127) ? c : '.';
  }
  return s;
}

bool StartsWithRiff(const std::vector<BYTE>& head, const char* form) {
  if (head.size() < 12 || std::memcmp(head.data(), "RIFF", 4) != 0) return false;
  return !form || std::memcmp(head.data() + 8, form, 4) == 0;
}

void DescribeRiffCommon(CN4RiffFile& file, nlohmann::ordered_json& json, std::string& text) {
  const std::pair<const char*, const char*> strings[] = {
      {"comments", file.GetPtrToComments()},   {"keywords", file.GetPtrToKeywords()},
      {"software", file.GetPtrToSoftware()},   {"copyright", file.GetPtrToCopyright()},
      {"created", file.GetPtrToCreationDate()},
  };
  auto& info = json["info"];
  info = nlohmann::ordered_json::object();
  for (const auto& [key, value] : strings) {
    info[key] = value;
    text += Format("  %-10s \"%s\"\n", (std::string(key) + ":").c_str(), value);
  }
  if (tag_N4_RIFF_FILE_DATA* hdr = file.RiffHdr()) {
    json["format"] = {{"created", Format("%u.%u", hdr->wCreatedMajor, hdr->wCreatedMinor)},
                      {"saved", Format("%u.%u", hdr->wSavedMajor, hdr->wSavedMinor)}};
    json["compression"] = +hdr->dwCompression;  // a value: the record is packed
    text += Format("  format:    %u.%u, saved as %u.%u, file compression level %u\n", hdr->wCreatedMajor,
                   hdr->wCreatedMinor, hdr->wSavedMajor, hdr->wSavedMinor, static_cast<unsigned>(hdr->dwCompression));
  }
}

namespace {

Match MatchRiff(const std::vector<BYTE>& head, const std::string& extension, const std::string&) {
  if (StartsWithRiff(head, nullptr)) return Match::kContent;
  return extension == "riff" || extension == "rif" ? Match::kExtension : Match::kNone;
}

bool DescribeRiff(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string& cause) {
  CN4RiffFile file;
  if (!file.Open(path.c_str(), OpenReadOnly, 0)) {
    cause = std::string("damaged RIFF file: ") + file.GetPtrToErrorString();
    return false;
  }
  json["form"] = FourccText(file.Type());
  text = Format("%s: RIFF file, form \"%s\"\n", path.c_str(), FourccText(file.Type()).c_str());
  DescribeRiffCommon(file, json, text);
  // The chunks as they lie in the file, known to the library or not.
  auto& chunks = json["chunks"];
  chunks = nlohmann::ordered_json::array();
  auto* base = static_cast<std::byte*>(file.GetViewBase());
  const auto* mapped = static_cast<const std::byte*>(file.GetMappedEnd());
  if (!base || !n4::ChunkFits(base, mapped)) {
    cause = "damaged RIFF file: the RIFF chunk runs past the end of the file";
    return false;
  }
  const auto* end = static_cast<const std::byte*>(NextChunkPtr(base));
  if (end > mapped) end = mapped;
  const std::byte* p = base + 12;
  for (int i = 0; p + 8 <= end; ++i) {
    if (!n4::ChunkFits(p, end)) {
      cause = Format("damaged RIFF file: chunk %d runs past the end of the file", i);
      return false;
    }
    DWORD id = 0, size = 0;
    std::memcpy(&id, p, sizeof id);
    std::memcpy(&size, p + 4, sizeof size);
    const DWORD code = ::ChunkId(p);
    chunks.push_back({{"index", i}, {"id", FourccText(id)}, {"code", FourccText(code)}, {"bytes", size}});
    text += Format("  chunk %d: \"%s\", %u bytes\n", i, FourccText(code).c_str(), static_cast<unsigned>(size));
    p = n4::BoundedNextChunk(p, end);
  }
  return true;
}

}  // namespace

const Recogniser kRiffRecogniser = {"riff", MatchRiff, DescribeRiff};

}  // namespace n4tool
