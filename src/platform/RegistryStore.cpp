#include "platform/RegistryStore.h"

namespace n4 {
namespace {

RegistryStore* g_installed = nullptr;

}  // namespace

RegistryStore* RegistryStore::Default() {
  return g_installed != nullptr ? g_installed : PlatformRegistryStore();
}

LONG RegistryStore::ImportRegFile(const std::string&, std::string*) { return kRegNotSupported; }

LONG RegistryStore::ExportRegFile(HKEY, const std::string&, std::string*) { return kRegNotSupported; }

ScopedRegistryStore::ScopedRegistryStore(RegistryStore* store) : previous_(g_installed) {
  g_installed = store;
}

ScopedRegistryStore::~ScopedRegistryStore() { g_installed = previous_; }

}  // namespace n4
