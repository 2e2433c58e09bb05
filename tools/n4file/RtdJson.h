// A real-time data configuration as JSON, for `n4file rtd export/import`.
//
// The document holds the whole configuration with readable field names:
//   {"description", "transmissions": [{"enabled", "description",
//     "syncs": [{"type", "endLength", "offset", "rangeFirst", "rangeLast",
//                "bytes": [0-65535...]}],
//     "commands": [{"command", "params": [text...]}]}],
//    "outputs": [port...], "input": port, "maxTransmissionLength"}
// with a port {"name", "type", "port", "baud", "databits", "parity",
// "ctsTransition", "dsrTransition", "rlsdTransition", "ringTransition"}.
// Numbers are 32-bit integers. Text is a JSON string; text that is not valid
// UTF-8 (written on a system with another code page) is {"hex": "..."} of its
// exact bytes, so a file converted to JSON and back is the same to the byte.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "n4file/Rtd.h"

namespace n4tool {

nlohmann::ordered_json RtdToJson(const CN4FileCRtd& rtd);

// Replaces rtd's description, transmissions, outputs, input port and maximum
// transmission length with the document's (its path stays). Every field must
// be present and no other key is accepted. Returns "" on success; otherwise
// one line naming the field ("transmissions[1].syncs[0].bytes[3]: expected an
// integer 0-65535"), rtd then unchanged.
std::string RtdFromJson(const nlohmann::ordered_json& doc, CN4FileCRtd& rtd);

}  // namespace n4tool
