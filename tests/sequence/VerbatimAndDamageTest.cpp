// Frames the library carries without knowing their layout, and damaged
// sequences.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "SequenceTestSupport.h"
#include "support/FaultEnv.h"
#include "support/SequenceWalk.h"
#include "support/TestSupport.h"
#include "util/ByteOrder.h"

namespace {

using n4test::Bytes;

// A list chunk of `type` holding a header sub-chunk (frame number first) and
// an opaque payload sub-chunk of odd length.
std::string VerbatimList(DWORD type, DWORD headerId, WORD frameNumber, const std::string& payload) {
  std::string hdr(8 + 20, '\0');
  n4::WriteLE32(hdr.data(), headerId);
  n4::WriteLE32(hdr.data() + 4, 20);
  n4::WriteLE16(hdr.data() + 8, frameNumber);
  for (int i = 2; i < 20; ++i) hdr[8 + i] = static_cast<char>(0xA0 + i);
  std::string body(8, '\0');
  n4::WriteLE32(body.data(), n4::MakeFourCC("ttxt"));
  n4::WriteLE32(body.data() + 4, static_cast<DWORD>(payload.size()));
  body += payload;
  if (payload.size() % 2) body += '\0';
  std::string list(12, '\0');
  n4::WriteLE32(list.data(), n4::kFourccLIST);
  n4::WriteLE32(list.data() + 4, static_cast<DWORD>(4 + hdr.size() + body.size()));
  n4::WriteLE32(list.data() + 8, type);
  return list + hdr + body;
}

// Inserts chunks in front of the end frame of a saved sequence and fixes
// the sizes and counts that describe them.
std::string InsertBeforeEnd(std::string file, const std::string& chunks, int frames) {
  const std::size_t endAt = file.size() - 40;  // the end frame: 8 + 32 bytes
  file.insert(endAt, chunks);
  n4::WriteLE32(file.data() + 4, static_cast<DWORD>(file.size() - 8));
  const std::size_t hdr = file.find("n4hd") + 8;
  n4::WriteLE32(file.data() + hdr + 520, n4::ReadLE32(file.data() + hdr + 520) + frames);
  return file;
}

TEST(VerbatimFrames, TextDataAndIncludeFramesSurviveEditing) {
  n4test::TempDir dir;
  const std::string path = dir.File("v.sq4");
  n4test::SaveSequence(path, 16, 32, Mono1, 0, {n4test::FrameContent(16, 32, Mono1, 1)});
  const std::string text = VerbatimList(n4::kFourccTxt, n4::kFourccTxth, 2, "Hello, sign!");
  const std::string data = VerbatimList(n4::kFourccDat, n4::kFourccDath, 3, "temp=21C");
  const std::string include = VerbatimList(n4::kFourccInc, n4::kFourccInch, 4, "other.sq4");
  n4test::WriteFile(path, InsertBeforeEnd(n4test::ReadFile(path), text + data + include, 3));

  {
    CN4SequenceFile f;
    ASSERT_EQ(f.Open(path.c_str(), OpenReadOnly), 1);
    ASSERT_EQ(f.FrameCount(), 5);
    EXPECT_NE(dynamic_cast<CN4TextFrame*>(f.Frame(2)), nullptr);
    EXPECT_NE(dynamic_cast<CN4DataFrame*>(f.Frame(3)), nullptr);
    EXPECT_NE(dynamic_cast<CN4IncFrame*>(f.Frame(4)), nullptr);
    EXPECT_EQ(f.Frame(4)->GetFrameNumber(), 4);
  }
  std::string firstSave;
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.Open(path.c_str(), OpenModify), 1);
    ASSERT_EQ(f.FrameCount(), 5);
    auto* textFrame = dynamic_cast<CN4TextFrame*>(f.Frame(2));
    ASSERT_NE(textFrame, nullptr);
    EXPECT_EQ(textFrame->GetBulbCompColorInfoPtr(), f.GetTextBulbPrototype());
    EXPECT_EQ(f.GetTextBulbPrototype()->m_dwWidth, 16u);
    ASSERT_EQ(f.Update(), 1);
    EXPECT_EQ(f.SosData()->wIncludeCount, 1);
    firstSave = n4test::ReadFile(path);
  }
  EXPECT_NE(firstSave.find(text), std::string::npos);
  EXPECT_NE(firstSave.find(data), std::string::npos);
  EXPECT_NE(firstSave.find(include), std::string::npos);

  // Editing around them keeps them too.
  CN4SequenceFile f;
  ASSERT_EQ(f.Open(path.c_str(), OpenModify), 1);
  ASSERT_EQ(f.AddFrame(n4::kFourccSnd, 1), 1);
  ASSERT_EQ(f.Update(), 1);
  const std::string second = n4test::ReadFile(path);
  // Renumbered by one, byte for byte otherwise.
  std::string renumbered = text;
  n4::WriteLE16(renumbered.data() + 12 + 8, 3);
  EXPECT_NE(second.find(renumbered), std::string::npos);
}

TEST(SequenceDamage, DamagedSequencesNeverCrash) {
  n4test::TempDir dir;
  n4test::ScopedFaultEnv faults;
  const std::string path = dir.File("good.sq4");
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.OpenCreate(path.c_str(), 16, 40, Mono4, PixelTechI), 1);
    f.RiffHdr()->dwCompression = 30;
    for (int i = 0; i < 3; ++i) ASSERT_GT(n4test::AddGraphic(f, n4test::FrameContent(16, 40, Mono4, i)), 0);
    auto* cmd = dynamic_cast<CN4CmdFrame*>(f.Frame(f.AddFrame(n4::kFourccCmd, 2)));
    cmd->AddCommand("A");
    cmd->AddCommand("B");
    ASSERT_EQ(f.Update(), 1);
  }
  const std::string good = n4test::ReadFile(path);
  const std::size_t grp = good.find("grp ") - 8;
  const std::size_t sos = good.find("sos ");
  const std::size_t hdr = good.find("n4hd");
  auto with = [&](std::size_t at, const char* bytes, std::size_t n) {
    std::string b = good;
    b.replace(at, n, bytes, n);
    return b;
  };
  auto withSize = [&](std::size_t at, DWORD value) {
    std::string b = good;
    n4::WriteLE32(b.data() + at, value);
    return b;
  };
  struct Case {
    const char* name;
    std::string bytes;
  };
  const Case cases[] = {
      {"truncated", good.substr(0, good.size() / 2)},
      {"truncated in the header", good.substr(0, hdr + 100)},
      {"only the outer header", good.substr(0, 12)},
      {"eleven bytes", good.substr(0, 11)},
      {"not RIFF at all", std::string(200, 'x')},
      {"outer size far past the end", withSize(4, 0xFFFFFFF0u)},
      {"INFO size far past the end", withSize(16, 0x7FFFFFF0u)},
      {"INFO size too small for its type", withSize(16, 2)},
      {"header size too small for its record", withSize(hdr + 4, 16)},
      {"header size past the end", withSize(hdr + 4, 0xFFFFFF00u)},
      {"frame list lying about its size", withSize(grp + 4, 0x00FFFFFF)},
      {"frame list too small for its type", withSize(grp + 4, 1)},
      {"missing grph", with(good.find("grph"), "xxxx", 4)},
      {"missing bulb", with(good.find("bulb"), "xxxx", 4)},
      {"start frame too short", withSize(sos + 4, 10)},
      {"bulb size past its list", withSize(good.find("bulb") + 4, 0x7FFFFFFF)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string damaged = dir.File("damaged.sq4");
    n4test::WriteFile(damaged, c.bytes);
    EXPECT_TRUE(n4test::PlayAndSave(damaged, dir.File("saved.sq4")));
    EXPECT_EQ(faults.TempFiles(), 0);
  }

  // A frame that cannot be attached is dropped when editing; the rest stays.
  const std::string damaged = dir.File("damaged.sq4");
  n4test::WriteFile(damaged, with(good.find("bulb"), "xxxx", 4));
  {
    CN4SequenceFile f;
    ASSERT_EQ(f.Open(damaged.c_str(), OpenModify), 1);
    EXPECT_EQ(f.FrameCount(), 4);
  }

  // Random damage, many times over.
  std::mt19937 rng(99);
  for (int iteration = 0; iteration < 300; ++iteration) {
    std::string bytes = good;
    for (int e = 0; e < 1 + static_cast<int>(rng() % 3); ++e) {
      std::size_t at = rng() % bytes.size();
      if (rng() % 3 == 0 && at + 4 <= bytes.size()) {
        n4::WriteLE32(bytes.data() + at, rng() % 2 ? rng() % 2048 : rng());
      } else if (rng() % 5 == 0) {
        bytes.resize(at + 1);
      } else {
        bytes[at] = static_cast<char>(rng());
      }
    }
    const std::string fuzz = dir.File("fuzz.sq4");
    n4test::WriteFile(fuzz, bytes);
    ASSERT_TRUE(n4test::PlayAndSave(fuzz, dir.File("fuzz-saved.sq4"))) << iteration;
    ASSERT_EQ(faults.TempFiles(), 0) << iteration;
  }
}

}  // namespace
