// The array rules shared by every record container of the real-time data
// configuration: add copies (a negative index appends, an index at or beyond
// the count adds nothing), remove deletes, getters keep ownership.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "archive/Archive.h"

namespace n4 {

template <class T>
int AddRecord(std::vector<std::unique_ptr<T>>& array, int index, const T* source) {
  if (index >= 0 && static_cast<std::size_t>(index) >= array.size()) return -1;
  std::unique_ptr<T> record;
  try {
    record = source ? std::make_unique<T>(*source) : std::make_unique<T>();
    if (index < 0) {
      array.push_back(std::move(record));
      return static_cast<int>(array.size() - 1);
    }
    array.insert(array.begin() + index, std::move(record));
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return index;
}

template <class T>
int RemoveRecord(std::vector<std::unique_ptr<T>>& array, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= array.size()) return 0;
  array.erase(array.begin() + index);
  return 1;
}

template <class T>
T* RecordAt(const std::vector<std::unique_ptr<T>>& array, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= array.size()) return nullptr;
  return array[static_cast<std::size_t>(index)].get();
}

template <class T>
void CopyRecords(std::vector<std::unique_ptr<T>>& to, const std::vector<std::unique_ptr<T>>& from) {
  std::vector<std::unique_ptr<T>> copies;
  copies.reserve(from.size());
  for (const auto& record : from) copies.push_back(std::make_unique<T>(*record));
  to = std::move(copies);
}

template <class T>
void StoreRecords(Archive& ar, const std::vector<std::unique_ptr<T>>& array) {
  ar.WriteCount(array.size());
  for (const auto& record : array) ar.WriteObject(record.get());
}

// Replaces array with the records of the archive. Each record joins the
// array as soon as it is read whole, so a fault keeps those before it. The
// framework put a null reference into the array as a null element; no
// container here holds one, so it is skipped.
template <class T>
void LoadRecords(Archive& ar, std::vector<std::unique_ptr<T>>& array) {
  array.clear();
  const DWORD count = ar.ReadCount();
  // Every reference takes at least two bytes: a count the file cannot hold
  // reserves nothing beyond what it can.
  array.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(count, ar.BytesLeft() / 2)));
  for (DWORD i = 0; i < count; ++i) {
    if (auto record = ar.ReadObjectOf<T>()) array.push_back(std::move(record));
  }
}

}  // namespace n4
