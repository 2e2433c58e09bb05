#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "n4file/SequenceFile.h"
#include "support/TestSupport.h"
#include "util/ByteOrder.h"

namespace {

// A working sequence for a small sign, with its file removed afterwards.
struct Sequence {
  n4test::TempDir dir;
  CN4SequenceFile file;
  Sequence() { EXPECT_EQ(file.OpenCreate(dir.File("s.sq4").c_str(), 32, 96, Mono1, PixelTechI), 1); }
  template <class T>
  T* Add(DWORD id, int pos = 9999) {
    int n = file.AddFrame(id, pos);
    EXPECT_GE(n, 1);
    return dynamic_cast<T*>(file.Frame(n));
  }
};

TEST(Frames, TextDataKeepsOnlyItsTextWhenSaved) {
  Sequence s;
  CN4TxdFrame* txd = s.Add<CN4TxdFrame>(n4::kFourccTxd);
  std::memcpy(txd->Text(), "0123456789ABCDEF", 16);
  txd->TxdFrame()->wTextLength = 10;
  std::vector<std::byte> out(1024, std::byte{0x55});
  auto* end = static_cast<std::byte*>(txd->CopyEx(out.data(), -1, 0));
  EXPECT_EQ(end - out.data(), 420);
  EXPECT_EQ(n4::ReadLE32(out.data() + 4), 412u);
  EXPECT_EQ(std::memcmp(out.data() + 8 + 401, "0123456789", 10), 0);

  // Expanding the saved frame restores the full editing buffer.
  CN4TxdFrame saved;
  ASSERT_NE(saved.AttachToFile(out.data()), nullptr);
  std::vector<std::byte> expanded(1024, std::byte{0x55});
  auto* expandedEnd = static_cast<std::byte*>(saved.CopyEx(expanded.data(), 1, 0));
  EXPECT_EQ(expandedEnd - expanded.data(), 666);
  EXPECT_EQ(n4::ReadLE32(expanded.data() + 4), 658u);
  EXPECT_EQ(expanded[8 + 411], std::byte{0});  // the dropped text stays dropped
}

TEST(Frames, AttachingChecksTheKindAndTheRecordSize) {
  Sequence s;
  CN4SndFrame snd;
  EXPECT_EQ(snd.AttachToFile(s.file.Frame(0)->StartOfChunkPtr()), nullptr);
  CN4SosFrame sos;
  EXPECT_NE(sos.AttachToFile(s.file.Frame(0)->StartOfChunkPtr()), nullptr);

  std::vector<std::byte> shortSos(64);
  WriteChunkHeader(shortSos.data(), n4::kFourccSos, 20, 0);
  EXPECT_EQ(sos.AttachToFile(shortSos.data()), nullptr);
}

TEST(Frames, FrameNumbersLiveInEachKindsHeader) {
  Sequence s;
  auto* graphic = s.Add<CN4GphFrame>(n4::kFourccGrp);
  auto* command = s.Add<CN4CmdFrame>(n4::kFourccCmd);
  ASSERT_NE(graphic, nullptr);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(graphic->SetFrameNumber(7), 1);
  EXPECT_EQ(graphic->GphHdr()->frm.wFrameNumber, 7);
  EXPECT_EQ(command->SetFrameNumber(8), 1);
  EXPECT_EQ(command->CmdHdr()->frm.wFrameNumber, 8);
  CN4Frame detached;
  EXPECT_EQ(detached.GetFrameNumber(), 0);
  EXPECT_EQ(detached.SetFrameNumber(1), 0);
  s.file.CalcRunTime();
  EXPECT_EQ(graphic->GetFrameNumber(), 1);
  EXPECT_EQ(command->GetFrameNumber(), 2);
  EXPECT_EQ(s.file.Frame(0)->GetFrameNumber(), 0);  // the start frame is never renumbered
  EXPECT_EQ(s.file.Frame(3)->GetFrameNumber(), 3);
}

std::vector<std::string> Commands(CN4CmdFrame* f) {
  std::vector<std::string> out;
  for (int i = 0; i < f->GetCommandCount(); ++i) out.emplace_back(f->GetPtrToCommandString(i));
  return out;
}

TEST(CommandFrame, AddInsertAndDeleteShiftTheSlots) {
  Sequence s;
  CN4CmdFrame* f = s.Add<CN4CmdFrame>(n4::kFourccCmd);
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(f->AddCommand("a"), 0);
  EXPECT_EQ(f->AddCommand("b"), 1);
  EXPECT_EQ(f->AddCommand(std::string(256, 'x').c_str()), -1);
  EXPECT_EQ(f->GetCommandCount(), 2);
  EXPECT_EQ(f->InsertCommand(0, "s"), 1);
  EXPECT_EQ(Commands(f), (std::vector<std::string>{"s", "a", "b"}));
  EXPECT_EQ(f->InsertCommand(1, "longer than the slot it replaces"), 1);
  EXPECT_EQ(f->DeleteCommand(1), 1);
  EXPECT_EQ(Commands(f), (std::vector<std::string>{"s", "a", "b"}));
  EXPECT_EQ(f->DeleteCommand(1), 1);
  EXPECT_EQ(Commands(f), (std::vector<std::string>{"s", "b"}));
  EXPECT_STREQ(f->GetPtrToCommandString(2), "");
  EXPECT_EQ(f->GetPtrToCommandString(128), nullptr);
  EXPECT_EQ(f->GetPtrToCommandString(-1), nullptr);
  EXPECT_EQ(f->InsertCommand(128, "x"), 0);
  EXPECT_EQ(f->InsertCommand(0, nullptr), 0);
  EXPECT_EQ(f->DeleteCommand(128), 0);

  // A string too long for its slot still shifts the others and counts.
  EXPECT_EQ(f->InsertCommand(0, std::string(300, 'y').c_str()), 0);
  EXPECT_EQ(Commands(f), (std::vector<std::string>{"", "s", "b"}));

  // A full frame refuses more.
  CN4CmdFrame* full = s.Add<CN4CmdFrame>(n4::kFourccCmd);
  for (int i = 0; i < 128; ++i) ASSERT_EQ(full->AddCommand(std::to_string(i).c_str()), i);
  EXPECT_EQ(full->AddCommand("x"), -1);
  EXPECT_EQ(full->InsertCommand(5, "x"), 0);
  EXPECT_EQ(full->DeleteCommand(0), 1);
  EXPECT_STREQ(full->GetPtrToCommandString(0), "1");
  EXPECT_STREQ(full->GetPtrToCommandString(126), "127");
  EXPECT_STREQ(full->GetPtrToCommandString(127), "");
}

TEST(CommandFrame, SizesInWorkingAndSavedFiles) {
  Sequence s;
  CN4CmdFrame* f = s.Add<CN4CmdFrame>(n4::kFourccCmd);
  EXPECT_EQ(CN4CmdFrame::BytesRequired(), 33844u);
  EXPECT_EQ(ChunkBytesRequired(f->GetSize()), 33844u);
  std::vector<std::byte> out(40000);
  auto* end = static_cast<std::byte*>(f->CopyEx(out.data(), -1, 0));
  EXPECT_EQ(end - out.data(), 1332);
  f->AddCommand("abc");
  end = static_cast<std::byte*>(f->CopyEx(out.data(), -1, 0));
  EXPECT_EQ(end - out.data(), 1334);

  // A saved frame holding fewer slots than 128 attaches the ones it has.
  CN4CmdFrame saved;
  const DWORD listSize = 4 + 40 + 2 * 12;
  n4::WriteLE32(out.data() + 4, listSize);
  ASSERT_NE(saved.AttachToFile(out.data()), nullptr);
  EXPECT_STREQ(saved.GetPtrToCommandString(0), "abc");
  EXPECT_STREQ(saved.GetPtrToCommandString(1), "");
  std::vector<std::byte> expanded(40000);
  end = static_cast<std::byte*>(saved.CopyEx(expanded.data(), 1, 0));
  EXPECT_EQ(end - expanded.data(), 33844);
}

// Every effect number's names, its steps on a sign 31 high and 96 wide, and
// its divisor for each divider.
TEST(Effects, NamesStepsAndDivisors) {
  std::ostringstream table;
  auto name = [](const char* n) { return n ? n : "-"; };
  for (int e = -3; e <= 55; ++e) {
    table << e << " | " << name(n4::EntryEffectName(e)) << " | " << name(n4::ExitEffectName(e)) << " | "
          << n4::HoldEffectName(e) << " | " << n4::EffectSteps(e, 31, 96) << " |";
    for (WORD divider : {1, 2, 3, 4, 8}) table << ' ' << n4::EffectDivisor(e, divider);
    table << '\n';
  }
  EXPECT_TRUE(n4test::MatchesGolden("sequence/effects.golden", table.str())) << table.str();
}

TEST(Effects, DescriptionsReadAsDocumented) {
  tag_N4_GRP_HDR h{};
  h.lEntryEffect = 15;
  h.lEntryRate = 2;
  h.lHoldTime = 240;
  h.lExitEffect = 2;
  EXPECT_EQ(CN4GphFrame::Describe(h), "Wand Left @2, Steady for 2.00  , Dissolve @0");
  h.lHoldTime = 30;
  h.lExitEffect = 0;
  EXPECT_EQ(CN4GphFrame::Describe(h), "Wand Left @2, Steady for 1/ 4, Stay");
  h.lEntryEffect = 1;
  h.lHoldEffect = 33;
  h.lHoldEffectRate = 5;
  h.lHoldTime = 600;
  h.lExitEffect = 77;
  EXPECT_EQ(CN4GphFrame::Describe(h), "Blank, Flash On @5 for 5.00  , Effect 77");
  h.lHoldTime = 0;
  EXPECT_EQ(CN4GphFrame::Describe(h), "Blank, Flash On @5, Effect 77");
}

}  // namespace
