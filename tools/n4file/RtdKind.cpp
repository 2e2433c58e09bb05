// `info` for real-time data configuration files. They have no signature of
// their own, so a file is one when its archive loads cleanly as a
// configuration; listed after the kinds that have one.
#include "RtdKind.h"

#include <fstream>

#include "Commands.h"
#include "RiffKind.h"
#include "RtdJson.h"

namespace n4tool {

namespace {

// The library loads a file of another version as an empty configuration,
// as the service does; the tool says so rather than show nothing.
bool HasOtherVersion(const std::string& path, std::string& cause) {
  unsigned char head[4];
  std::ifstream in(path, std::ios::binary);
  if (!in.read(reinterpret_cast<char*>(head), sizeof head)) return false;  // the loader reports short files
  const unsigned long version = head[0] | head[1] << 8 | head[2] << 16 | static_cast<unsigned long>(head[3]) << 24;
  if (version == 1) return false;
  cause = "not a real-time data configuration of version 1 (it starts with " + std::to_string(version) + ")";
  return true;
}

}  // namespace

bool LoadRtd(const std::string& path, CN4FileCRtd& rtd, std::string& cause) {
  if (HasOtherVersion(path, cause)) return false;
  try {
    if (rtd.ReadFile(path)) return true;
    cause = "cannot be read";
  } catch (const n4::ArchiveException& e) {
    cause = "damaged configuration: " + CauseWithoutFile(e.what(), e.m_strFileName);
  } catch (const n4::FileException& e) {
    cause = CauseWithoutFile(e.what(), e.GetFileName());
  }
  return false;
}

namespace {

// Loading alone also accepted a short text file, so the extension must agree too.
Match MatchRtd(const std::vector<BYTE>&, const std::string& extension, const std::string& path) {
  if (extension != "rtd") return Match::kNone;
  CN4FileCRtd rtd;
  std::string cause;
  return LoadRtd(path, rtd, cause) ? Match::kExtension : Match::kNone;
}

std::string PortText(const CN4FileCRtdPort& port) {
  const std::string description = port.GetDescription();
  return description.empty() ? "\"" + port.GetName() + "\" (no port set)" : description;
}

bool DescribeRtd(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string& cause) {
  CN4FileCRtd rtd;
  if (!LoadRtd(path, rtd, cause)) return false;
  const nlohmann::ordered_json document = RtdToJson(rtd);
  for (const auto& [key, value] : document.items()) json[key] = value;
  // Descriptions are joined, not formatted: they may be longer than Format's buffer.
  text = path + ": real-time data configuration \"" + rtd.GetFileDescription() + "\"\n";
  text += "  input:         " + PortText(*rtd.GetInputPtr()) + "\n";
  text += Format("  outputs:       %d\n", rtd.GetOutputCount());
  for (int i = 0; i < rtd.GetOutputCount(); ++i) text += "    " + PortText(*rtd.GetOutputPtr(i)) + "\n";
  text += Format("  transmissions: %d (longest %d bytes)\n", rtd.GetTransCount(), rtd.GetMaxTransLength());
  for (int i = 0; i < rtd.GetTransCount(); ++i) {
    const CN4FileCRtdTrans& t = *rtd.GetTransPtr(i);
    text += Format("    %d: ", i) + "\"" + t.GetDescription() + "\"" + (t.GetEnabled() ? "" : " (disabled)") +
            Format(", %d syncs, %d commands\n", t.GetSyncCount(), t.GetCmdCount());
  }
  return true;
}

}  // namespace

const Recogniser kRtdRecogniser = {"rtd", MatchRtd, DescribeRtd};

}  // namespace n4tool
