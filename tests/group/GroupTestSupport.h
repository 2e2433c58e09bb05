// A scratch data directory for the group database, and the messages shown.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <utility>
#include <vector>

#include "n4file/Group.h"
#include "n4file/Message.h"
#include "n4file/Registry.h"
#include "platform/Env.h"
#include "registry/RegistryTestEnv.h"
#include "support/TestSupport.h"

namespace n4test {

struct ShownMessage {
  std::string text;
  UINT style;
};

// Points "File Locations\DataPath" at <dir>/data (created) for its lifetime.
class GroupDataDir {
 public:
  explicit GroupDataDir(const std::string& root, bool createData = true)
      : env_(root), scoped_(&env_), data_(root + "/data") {
    if (createData) n4::Env::Default()->CreateDirectory(data_, nullptr);
    CN4Registry reg;
    reg.CreateMachineRegistryKey("File Locations");
    reg.SetRegistryString("DataPath", data_.c_str());
  }
  const std::string& data() const { return data_; }
  std::string Database() const { return data_ + "/N4Group.mdb"; }
  static void SetDatabaseName(const char* name) {
    CN4Registry reg;
    reg.CreateMachineRegistryKey("Grouping");
    reg.SetRegistryString("Database", name);
  }

 private:
  RegistryDirEnv env_;
  n4::ScopedEnv scoped_;
  std::string data_;
};

// Collects what the library shows instead of writing it to standard error.
class MessageCapture {
 public:
  MessageCapture() {
    previous_ = n4::SetMessageSink([this](const std::string& text, UINT style) { shown.push_back({text, style}); });
  }
  ~MessageCapture() { n4::SetMessageSink(std::move(previous_)); }
  MessageCapture(const MessageCapture&) = delete;
  MessageCapture& operator=(const MessageCapture&) = delete;
  std::string Last() const { return shown.empty() ? std::string() : shown.back().text; }

  std::vector<ShownMessage> shown;

 private:
  n4::MessageSink previous_;
};

class GroupTest : public ::testing::Test {
 protected:
  TempDir dir;
  GroupDataDir data{dir.path()};
  MessageCapture messages;
};

// One number from the file, read beside the library (the file is shared).
inline long long CountRows(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  long long value = -1;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_busy_timeout(db, 2000);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
      value = sqlite3_column_int64(statement, 0);
    }
    sqlite3_finalize(statement);
  }
  sqlite3_close(db);
  return value;
}

// The signs reached from a group, as "name" texts in walk order.
inline std::vector<std::string> SignWalk(CN4FileGroup& group, long groupID) {
  std::vector<std::string> names;
  HANDLE find = group.FindMemberOpen(groupID);
  tag_N4_GRP_MEMBER_DATA member{};
  while (find != nullptr && group.FindNextSignMember(find, &member)) names.push_back(member.szName);
  group.FindMemberClose(find);
  return names;
}

}  // namespace n4test
