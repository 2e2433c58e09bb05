#include "RtdJson.h"

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <vector>

namespace n4tool {

namespace {

using Json = nlohmann::ordered_json;

// ---------------------------------------------------------------------------
// Configuration -> JSON

bool IsUtf8(const std::string& text) {
  try {
    (void)Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

Json Text(const std::string& text) {
  if (IsUtf8(text)) return text;
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (unsigned char c : text) {
    hex += kDigits[c >> 4];
    hex += kDigits[c & 15];
  }
  return Json{{"hex", hex}};
}

Json PortToJson(const CN4FileCRtdPort& p) {
  return Json{{"name", Text(p.GetName())},
              {"type", p.GetType()},
              {"port", p.GetPort()},
              {"baud", p.GetBaud()},
              {"databits", p.GetDatabits()},
              {"parity", Text(p.GetParity())},
              {"ctsTransition", p.GetCTSTrans()},
              {"dsrTransition", p.GetDSRTrans()},
              {"rlsdTransition", p.GetRLSDTrans()},
              {"ringTransition", p.GetRINGTrans()}};
}

Json TransToJson(const CN4FileCRtdTrans& t) {
  Json syncs = Json::array();
  for (int i = 0; i < t.GetSyncCount(); ++i) {
    const CN4FileCRtdSync& s = *t.GetSyncPtr(i);
    syncs.push_back(Json{{"type", s.GetType()},
                         {"endLength", s.GetEndLength()},
                         {"offset", s.GetOffset()},
                         {"rangeFirst", s.GetRangeFirst()},
                         {"rangeLast", s.GetRangeLast()},
                         {"bytes", s.GetIndivBytes()}});
  }
  Json commands = Json::array();
  for (int i = 0; i < t.GetCmdCount(); ++i) {
    const CN4FileCRtdCmd& c = *t.GetCmdPtr(i);
    Json params = Json::array();
    for (const std::string& param : c.GetParams()) params.push_back(Text(param));
    commands.push_back(Json{{"command", c.GetCommand()}, {"params", params}});
  }
  return Json{{"enabled", t.GetEnabled()},
              {"description", Text(t.GetDescription())},
              {"syncs", syncs},
              {"commands", commands}};
}

// ---------------------------------------------------------------------------
// JSON -> configuration

struct BadField {
  std::string text;
};

[[noreturn]] void Fail(const std::string& path, const std::string& problem) {
  throw BadField{(path.empty() ? std::string("document") : path) + ": " + problem};
}

std::string Field(const std::string& path, const char* key) { return path.empty() ? key : path + "." + key; }
std::string Item(const std::string& path, std::size_t index) { return path + "[" + std::to_string(index) + "]"; }

// The object at path with exactly these keys.
void Expect(const Json& object, const std::string& path, std::initializer_list<const char*> keys) {
  if (!object.is_object()) Fail(path, "expected an object");
  for (const auto& item : object.items()) {
    bool known = false;
    for (const char* key : keys) known = known || item.key() == key;
    if (!known) Fail(path, "unknown key \"" + item.key() + "\"");
  }
  for (const char* key : keys) {
    if (!object.contains(key)) Fail(path, "missing field \"" + std::string(key) + "\"");
  }
}

std::int64_t Integer(const Json& value, const std::string& path, std::int64_t low, std::int64_t high,
                     const char* expected) {
  if (value.is_number_unsigned()) {
    if (value.get<std::uint64_t>() <= static_cast<std::uint64_t>(high)) return value.get<std::int64_t>();
  } else if (value.is_number_integer()) {
    const std::int64_t n = value.get<std::int64_t>();
    if (n >= low && n <= high) return n;
  }
  Fail(path, expected);
}

int Int32(const Json& object, const std::string& path, const char* key) {
  return static_cast<int>(Integer(object.at(key), Field(path, key), std::numeric_limits<std::int32_t>::min(),
                                  std::numeric_limits<std::int32_t>::max(), "expected a 32-bit integer"));
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string TextFrom(const Json& value, const std::string& path) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_object() && value.size() == 1 && value.contains("hex") && value.at("hex").is_string()) {
    const std::string hex = value.at("hex").get<std::string>();
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
      const int high = HexDigit(hex[i]), low = HexDigit(hex[i + 1]);
      if (high < 0 || low < 0) break;
      bytes += static_cast<char>(high * 16 + low);
    }
    if (bytes.size() * 2 == hex.size()) return bytes;
  }
  Fail(path, "expected a string or {\"hex\": \"<pairs of hex digits>\"}");
}

std::string Text(const Json& object, const std::string& path, const char* key) {
  return TextFrom(object.at(key), Field(path, key));
}

const Json& Array(const Json& object, const std::string& path, const char* key) {
  const Json& value = object.at(key);
  if (!value.is_array()) Fail(Field(path, key), "expected an array");
  return value;
}

CN4FileCRtdPort PortFrom(const Json& j, const std::string& path) {
  Expect(j, path, {"name", "type", "port", "baud", "databits", "parity", "ctsTransition", "dsrTransition",
                   "rlsdTransition", "ringTransition"});
  CN4FileCRtdPort p;
  p.SetName(Text(j, path, "name"));
  p.SetType(Int32(j, path, "type"));
  p.SetPort(Int32(j, path, "port"));
  p.SetBaud(Int32(j, path, "baud"));
  p.SetDatabits(Int32(j, path, "databits"));
  p.SetParity(Text(j, path, "parity"));
  p.SetCTSTrans(Int32(j, path, "ctsTransition"));
  p.SetDSRTrans(Int32(j, path, "dsrTransition"));
  p.SetRLSDTrans(Int32(j, path, "rlsdTransition"));
  p.SetRINGTrans(Int32(j, path, "ringTransition"));
  return p;
}

CN4FileCRtdSync SyncFrom(const Json& j, const std::string& path) {
  Expect(j, path, {"type", "endLength", "offset", "rangeFirst", "rangeLast", "bytes"});
  CN4FileCRtdSync s;
  s.SetType(Int32(j, path, "type"));
  s.SetEndLength(Int32(j, path, "endLength"));
  s.SetOffset(Int32(j, path, "offset"));
  s.SetRangeFirst(Int32(j, path, "rangeFirst"));
  s.SetRangeLast(Int32(j, path, "rangeLast"));
  const Json& bytes = Array(j, path, "bytes");
  std::vector<WORD> values;
  values.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    values.push_back(static_cast<WORD>(
        Integer(bytes[i], Item(Field(path, "bytes"), i), 0, 0xFFFF, "expected an integer 0-65535")));
  }
  s.SetIndivBytes(std::move(values));
  return s;
}

CN4FileCRtdCmd CmdFrom(const Json& j, const std::string& path) {
  Expect(j, path, {"command", "params"});
  CN4FileCRtdCmd c;
  c.SetCommand(Int32(j, path, "command"));
  const Json& params = Array(j, path, "params");
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < params.size(); ++i) texts.push_back(TextFrom(params[i], Item(Field(path, "params"), i)));
  c.SetParams(std::move(texts));
  return c;
}

CN4FileCRtdTrans TransFrom(const Json& j, const std::string& path) {
  Expect(j, path, {"enabled", "description", "syncs", "commands"});
  CN4FileCRtdTrans t;
  t.SetEnabled(Int32(j, path, "enabled"));
  t.SetDescription(Text(j, path, "description"));
  const Json& syncs = Array(j, path, "syncs");
  for (std::size_t i = 0; i < syncs.size(); ++i) {
    const CN4FileCRtdSync s = SyncFrom(syncs[i], Item(Field(path, "syncs"), i));
    t.AddSync(-1, &s);
  }
  const Json& commands = Array(j, path, "commands");
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const CN4FileCRtdCmd c = CmdFrom(commands[i], Item(Field(path, "commands"), i));
    t.AddCmd(-1, &c);
  }
  return t;
}

}  // namespace

nlohmann::ordered_json RtdToJson(const CN4FileCRtd& rtd) {
  Json transmissions = Json::array();
  for (int i = 0; i < rtd.GetTransCount(); ++i) transmissions.push_back(TransToJson(*rtd.GetTransPtr(i)));
  Json outputs = Json::array();
  for (int i = 0; i < rtd.GetOutputCount(); ++i) outputs.push_back(PortToJson(*rtd.GetOutputPtr(i)));
  return Json{{"description", Text(rtd.GetFileDescription())},
              {"transmissions", transmissions},
              {"outputs", outputs},
              {"input", PortToJson(*rtd.GetInputPtr())},
              {"maxTransmissionLength", rtd.GetMaxTransLength()}};
}

std::string RtdFromJson(const nlohmann::ordered_json& doc, CN4FileCRtd& rtd) {
  // Everything is read into values first, so a bad field changes nothing.
  std::string description;
  std::vector<CN4FileCRtdTrans> transmissions;
  std::vector<CN4FileCRtdPort> outputs;
  CN4FileCRtdPort input;
  int maxLength = 0;
  try {
    Expect(doc, "", {"description", "transmissions", "outputs", "input", "maxTransmissionLength"});
    description = Text(doc, "", "description");
    const Json& trans = Array(doc, "", "transmissions");
    for (std::size_t i = 0; i < trans.size(); ++i) transmissions.push_back(TransFrom(trans[i], Item("transmissions", i)));
    const Json& outs = Array(doc, "", "outputs");
    for (std::size_t i = 0; i < outs.size(); ++i) outputs.push_back(PortFrom(outs[i], Item("outputs", i)));
    input = PortFrom(doc.at("input"), "input");
    maxLength = Int32(doc, "", "maxTransmissionLength");
  } catch (const BadField& bad) {
    return bad.text;
  }
  rtd.DeleteContents();
  rtd.SetFileDescription(description);
  for (const CN4FileCRtdTrans& t : transmissions) rtd.AddTrans(-1, &t);
  for (const CN4FileCRtdPort& p : outputs) rtd.AddOutput(-1, &p);
  *rtd.GetInputPtr() = input;
  rtd.SetMaxTransLength(maxLength);
  return {};
}

}  // namespace n4tool
