#include "registry/StoreSelection.h"

#include "platform/Env.h"
#include "registry/FileRegistryStore.h"

namespace n4 {
namespace {

RegistryStore* g_installed = nullptr;

}  // namespace

RegistryStore* DefaultRegistryStore() {
  if (g_installed != nullptr) return g_installed;
  if (RegistryStore* system = SystemRegistryStore()) return system;
  static FileRegistryStore store(LocateRegistryFile);
  return &store;
}

ScopedRegistryStore::ScopedRegistryStore(RegistryStore* store) : previous_(g_installed) {
  g_installed = store;
}

ScopedRegistryStore::~ScopedRegistryStore() { g_installed = previous_; }

}  // namespace n4
