#include "registry/RegTree.h"

#include <algorithm>

namespace n4 {
namespace {

char FoldAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

bool RegNamesEqual(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(),
                    [](char x, char y) { return FoldAscii(x) == FoldAscii(y); });
}

RegKey* RegKey::FindSubkey(std::string_view name) const {
  for (const auto& key : subkeys_) {
    if (RegNamesEqual(key->name_, name)) return key.get();
  }
  return nullptr;
}

RegKey* RegKey::AddSubkey(std::string_view name) {
  if (RegKey* existing = FindSubkey(name)) return existing;
  subkeys_.push_back(std::make_unique<RegKey>(std::string(name)));
  return subkeys_.back().get();
}

bool RegKey::RemoveSubkey(std::string_view name) {
  auto it = std::find_if(subkeys_.begin(), subkeys_.end(),
                         [&](const auto& key) { return RegNamesEqual(key->name_, name); });
  if (it == subkeys_.end()) return false;
  subkeys_.erase(it);
  return true;
}

RegKey* RegKey::Find(const std::vector<std::string>& path) {
  RegKey* key = this;
  for (const auto& part : path) {
    key = key->FindSubkey(part);
    if (key == nullptr) return nullptr;
  }
  return key;
}

RegKey* RegKey::Create(const std::vector<std::string>& path, bool* created) {
  RegKey* key = this;
  for (const auto& part : path) {
    RegKey* next = key->FindSubkey(part);
    if (next == nullptr) {
      next = key->AddSubkey(part);
      if (created != nullptr) *created = true;
    }
    key = next;
  }
  key->explicit_ = true;
  return key;
}

const RegValue* RegKey::FindValue(std::string_view name) const {
  for (const auto& value : values_) {
    if (RegNamesEqual(value.name, name)) return &value;
  }
  return nullptr;
}

bool RegKey::SetValue(std::string_view name, DWORD type, std::string data) {
  for (auto& value : values_) {
    if (RegNamesEqual(value.name, name)) {
      if (value.type == type && value.data == data) return false;
      value.type = type;
      value.data = std::move(data);
      return true;
    }
  }
  values_.push_back(RegValue{std::string(name), type, std::move(data)});
  return true;
}

bool RegKey::RemoveValue(std::string_view name) {
  auto it = std::find_if(values_.begin(), values_.end(),
                         [&](const RegValue& value) { return RegNamesEqual(value.name, name); });
  if (it == values_.end()) return false;
  values_.erase(it);
  return true;
}

}  // namespace n4
