// The state behind CN4FileGroup's group-ID iteration and member walks.
//
// Each level of a walk holds the (ID, Type) rows of one group, read whole
// when the level is opened, so no read stays open in the database between
// calls and other connections can write meanwhile.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "n4file/Group.h"

namespace n4 {

struct GroupIdSet {
  bool open = false;
  std::vector<long> ids;
  std::size_t next = 0;
};

// A sign member carries the sign's values when the walk asked for them
// (read with the member rows, one query per group instead of one per sign).
struct SignValues {
  std::string name;
  std::string machine;
  std::string address;
  long rows = 0;
  long columns = 0;
  long colorTech = 0;
};

struct MemberRow {
  long id = 0;
  long type = 0;
  bool hasSign = false;  // the sign exists and `sign` holds its values
  SignValues sign;
};

using MemberRows = std::shared_ptr<const std::vector<MemberRow>>;

struct FindLevel {
  bool open = false;
  MemberRows rows;
  std::size_t next = 0;

  void Close() {
    open = false;
    rows.reset();
    next = 0;
  }
};

struct GroupSearch {
  HANDLE token = nullptr;
  std::array<FindLevel, kGroupFindLevels> levels;
  int level = 0;
  // A walk's groups, read together when it starts, so that the walk sees one
  // state of the tree and pays for one read instead of one per group.
  std::map<long, MemberRows> tree;
};

}  // namespace n4
