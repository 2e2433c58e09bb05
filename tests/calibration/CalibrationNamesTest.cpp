// Dated names of new calibration files: month names from the registry, face
// labels, revision numbering, the extra text, and concurrent callers.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "calibration/CalibrationDate.h"
#include "support/DataFiles.h"
#include "n4file/Calibration.h"
#include "registry/RegistryTestEnv.h"

namespace {

// Fixes the date of new file names for the lifetime of this object.
class FixedDate {
 public:
  FixedDate(int day, int month, int year) { n4::SetCalibrationTodayForTesting(n4::CalendarDate{day, month, year}); }
  ~FixedDate() { n4::SetCalibrationTodayForTesting(std::nullopt); }
  FixedDate(const FixedDate&) = delete;
  FixedDate& operator=(const FixedDate&) = delete;
};

std::string ProductKey(const std::string& rest) {
  return "[HKEY_LOCAL_MACHINE\\Software\\Korvandexa\\Lyrae4000\\V5.0\\" + rest + "]\r\n";
}

class CalibrationNamesTest : public ::testing::Test {
 protected:
  CalibrationNamesTest() : env_(registry_.path()), scoped_(&env_) {}

  // A registry whose data directory is data_ and, unless told otherwise, an
  // English "Date Names" key with March as "Mar".
  void SetUpRegistry(bool withDateNames = true) {
    std::string body = ProductKey("File Locations") + "\"DataPath\"=\"" + data_.path() + "/\"\r\n\r\n";
    if (withDateNames) body += ProductKey("English\\Date Names") + "\"Month_Abbr3\"=\"Mar\"\r\n";
    body += ProductKey("Deutsch\\Date Names") + "\"Month_Abbr3\"=\"Mrz\"\r\n";
    n4test::WriteFile(registry_.File("HKEY_LOCAL_MACHINE.reg"), "Windows Registry Editor Version 5.00\r\n\r\n" + body);
  }

  std::string NewName(const char* name, int face, const char* language = nullptr) {
    char out[MAX_PATH] = "unchanged";
    CN4FileCalibration::CreateNewFileName(out, name, face, language);
    return out;
  }

  void Touch(const std::string& name) { n4test::WriteFile(data_.File(name), ""); }

  n4test::TempDir registry_;
  n4test::TempDir data_;
  n4test::RegistryDirEnv env_;
  n4::ScopedEnv scoped_;
};

TEST_F(CalibrationNamesTest, DateTextAndFaceLabels) {
  SetUpRegistry();
  FixedDate date(15, 3, 2001);
  // A language without the key gives the month number in the middle field.
  for (const auto& c : n4test::ReadCases("calibration/new-names.tsv")) {
    SCOPED_TRACE(c[0].text + " " + c[1].text);
    EXPECT_EQ(NewName("MAIN", std::stoi(c[0].text), c[1].c_str()), c[2].text);
  }
  FixedDate otherDay(5, 12, 1999);
  SetUpRegistry(false);
  EXPECT_EQ(NewName("MAIN", 1), "MAIN.05_12_99.FA.R01.CA4");
}

TEST_F(CalibrationNamesTest, RevisionIsOneMoreThanTheHighestOfThatNameDateAndFace) {
  SetUpRegistry();
  FixedDate date(15, 3, 2001);
  Touch("MAIN.15Mar01.FB.R02.CA4");
  EXPECT_EQ(NewName("MAIN", 2), "MAIN.15Mar01.FB.R03.CA4");
  Touch("MAIN.15Mar01.FB.R09.CA4");
  EXPECT_EQ(NewName("MAIN", 2), "MAIN.15Mar01.FB.R10.CA4");
  Touch("main.15mar01.fb.r99.ca4");  // names compare without regard to case
  EXPECT_EQ(NewName("MAIN", 2), "MAIN.15Mar01.FB.R100.CA4");
  // Other faces, days, names and extensions do not count; nor do revisions
  // that do not read as numbers.
  Touch("MAIN.15Mar01.FC.R50.CA4");
  Touch("MAIN.16Mar01.FA.R50.CA4");
  Touch("MAINX.15Mar01.FA.R50.CA4");
  Touch("MAIN.15Mar01.FA.R50.CA5");
  Touch("MAIN.15Mar01.FA.Rxx.CA4");
  Touch("MAIN.15Mar01.FA..CA4");
  EXPECT_EQ(NewName("MAIN", 1), "MAIN.15Mar01.FA.R01.CA4");
}

TEST_F(CalibrationNamesTest, ExtraTextIsItsOwnMarkedFieldAndSharesTheRevisions) {
  SetUpRegistry();
  FixedDate date(15, 3, 2001);
  Touch("MAIN.15Mar01.FB.R02.CA4");
  char out[MAX_PATH];
  CN4FileCalibrationEx::CreateNewFileNameEx(out, "MAIN", 2, nullptr, "Gain");
  EXPECT_STREQ(out, "MAIN.15Mar01.FB.EGain.R03.CA4");
  Touch(out);
  EXPECT_EQ(NewName("MAIN", 2), "MAIN.15Mar01.FB.R04.CA4");
  CN4FileCalibrationEx::CreateNewFileNameEx(out, "MAIN", 2, nullptr, "a.b/c\\d*e");
  EXPECT_STREQ(out, "MAIN.15Mar01.FB.Ea_b_c_d_e.R04.CA4");
  CN4FileCalibrationEx::CreateNewFileNameEx(out, "MAIN", 2, nullptr, "");
  EXPECT_STREQ(out, "MAIN.15Mar01.FB.R04.CA4");
  CN4FileCalibrationEx::CreateNewFileNameEx(out, "MAIN", 2, nullptr, nullptr);
  EXPECT_STREQ(out, "MAIN.15Mar01.FB.R04.CA4");
}

TEST_F(CalibrationNamesTest, NullOutputAndOverlongNames) {
  SetUpRegistry();
  FixedDate date(15, 3, 2001);
  CN4FileCalibration::CreateNewFileName(nullptr, "MAIN", 1, nullptr);
  EXPECT_EQ(NewName(std::string(240, 'N').c_str(), 1), std::string(240, 'N') + ".15Mar01.FA.R01.CA4");
  EXPECT_EQ(NewName(std::string(241, 'N').c_str(), 1), "");  // 260 with its terminator
}

TEST_F(CalibrationNamesTest, ConcurrentCallersEachGetTheWholeName) {
  SetUpRegistry();
  FixedDate date(15, 3, 2001);
  Touch("MAIN.15Mar01.FB.R07.CA4");
  Touch("SIDE.15Mar01.FC.R02.CA4");
  constexpr int kThreads = 8;
  std::vector<std::string> results(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&results, t] {
      // Two kinds of calls interleaved, each with its own date text.
      const bool main = t % 2 == 0;
      std::string last;
      for (int i = 0; i < 50; ++i) {
        char out[MAX_PATH];
        CN4FileCalibration::CreateNewFileName(out, main ? "MAIN" : "SIDE", main ? 2 : 3,
                                              main ? nullptr : "Svenska");
        if (!last.empty() && last != out) {
          last = "inconsistent";
          break;
        }
        last = out;
      }
      results[t] = last;
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) {
    SCOPED_TRACE(t);
    EXPECT_EQ(results[t], t % 2 == 0 ? "MAIN.15Mar01.FB.R08.CA4" : "SIDE.15_03_01.FC.R01.CA4");
  }
}

}  // namespace
