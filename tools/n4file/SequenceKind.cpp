// `info` for sequence files: the sign, the totals and every frame.
//
// Records are packed, so their fields go into JSON as values (unary +): a
// reference to a misaligned field is undefined behaviour.
#include <n4file/SequenceFile.h>

#include "Commands.h"
#include "RiffKind.h"
#include "Sequence.h"

namespace n4tool {
namespace {

Match MatchSequence(const std::vector<BYTE>& head, const std::string& extension, const std::string&) {
  if (StartsWithRiff(head, "seq4")) return Match::kContent;
  return extension == "sq4" ? Match::kExtension : Match::kNone;
}

nlohmann::ordered_json Effect(const char* name, int number, LONG rate, WORD divider) {
  return {{"effect", name ? name : "Effect " + std::to_string(number)}, {"number", number}, {"rate", rate},
          {"divider", divider}};
}

nlohmann::ordered_json GraphicJson(CN4GphFrame& g) {
  const tag_N4_GRP_HDR& h = *g.GphHdr();
  nlohmann::ordered_json hold = {{"effect", n4::HoldEffectName(h.lHoldEffect)},
                                 {"number", +h.lHoldEffect},
                                 {"rate", +h.lHoldEffectRate},
                                 {"time_ticks", +h.lHoldTime},
                                 {"seconds", h.lHoldTime / 120.0}};
  return {{"entry", Effect(n4::EntryEffectName(h.lEntryEffect), h.lEntryEffect, h.lEntryRate, h.wEntryDivider)},
          {"hold", hold},
          {"exit", Effect(n4::ExitEffectName(h.lExitEffect), h.lExitEffect, h.lExitRate, h.wExitDivider)},
          {"description", CN4GphFrame::Describe(h)},
          {"method", +h.dwCompressMethod},
          {"method_name", MethodName(h.dwCompressMethod)},
          {"stored_bytes", g.GetBulbObj()->GetSize()}};
}

bool DescribeSequence(const std::string& path, nlohmann::ordered_json& json, std::string& text, std::string& cause) {
  CN4SequenceFile file;
  if (!OpenSequence(file, path, OpenReadOnly, cause)) return false;
  const tag_N4_SOS_FRM& sos = *file.SosData();
  text = Format("%s: sequence file\n", path.c_str());
  DescribeRiffCommon(file, json, text);
  const std::string color = ColorName(sos.dwColorTech);
  const std::string pixel = PixelName(sos.dwPixelTech);
  json["sign"] = {{"rows", +sos.wHeight}, {"columns", +sos.wWidth}, {"color", color}, {"color_number", +sos.dwColorTech},
                  {"pixel", pixel}};
  const bool preview = file.IsPreviewOnly() == 1;
  json["preview_only"] = preview;
  text += Format("  sign:      %u rows x %u columns, colour %s, pixel technology %s\n", sos.wHeight, sos.wWidth,
                 color.c_str(), pixel.c_str());
  text += Format("  preview:   %s\n", preview ? "yes" : "no");
  const int count = file.FrameCount();
  json["frame_count"] = count;
  json["run_time_ms"] = +sos.dwRunTime;
  text += Format("  frames:    %d, run time %.2f s\n", count, sos.dwRunTime / 1000.0);
  auto& frames = json["frames"];
  frames = nlohmann::ordered_json::array();
  for (int i = 1; i <= count; ++i) {
    CN4Frame* frame = file.Frame(i);
    if (!frame) {
      cause = Format("damaged sequence: frame %d cannot be read", i);
      return false;
    }
    nlohmann::ordered_json one = {{"number", i}, {"kind", FrameKind(frame)}};
    std::string line = Format("  frame %d: %s", i, FrameKind(frame));
    if (auto* g = n4::KindOf<CN4GphFrame>(frame)) {
      if (n4::GraphicFramePixels(g).empty()) {
        cause = Format("damaged sequence: the pixels of frame %d do not decode", i);
        return false;
      }
      one.update(GraphicJson(*g));
      line += Format(", %s; %s, %u bytes", CN4GphFrame::Describe(*g->GphHdr()).c_str(),
                     MethodName(g->GphHdr()->dwCompressMethod), static_cast<unsigned>(g->GetBulbObj()->GetSize()));
    } else if (auto* c = n4::KindOf<CN4CmdFrame>(frame)) {
      auto& commands = one["commands"];
      commands = nlohmann::ordered_json::array();
      for (int k = 0; k < c->GetCommandCount() && k < CN4CmdFrame::kSlots; ++k) {
        commands.push_back(c->GetPtrToCommandString(k));
        line += Format("%s\"%s\"", k ? ", " : ": ", c->GetPtrToCommandString(k));
      }
    }
    frames.push_back(one);
    text += line + "\n";
  }
  return true;
}

}  // namespace

const Recogniser kSequenceRecogniser = {"sequence", MatchSequence, DescribeSequence};

}  // namespace n4tool
