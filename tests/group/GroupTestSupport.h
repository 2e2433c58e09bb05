// A scratch data directory for the group database, and the messages shown.
#pragma once

#include <gtest/gtest.h>
#include <SQLiteCpp/SQLiteCpp.h>

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

// What the maintenance tasks show when they cannot have the file to themselves.
inline const std::string kInUseAdvice =
    "!  Make sure the grouping service is stopped and no other\n"
    "applications are currently using the database. Error = ";

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

// One number from the file, read beside the library (the file is shared); -1
// when the file cannot answer.
inline long long CountRows(const std::string& path, const std::string& sql) {
  try {
    SQLite::Database db(path, SQLite::OPEN_READONLY, 2000);
    return db.execAndGet(sql).getInt64();
  } catch (const SQLite::Exception&) {
    return -1;
  }
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
