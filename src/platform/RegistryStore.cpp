#include "platform/RegistryStore.h"

namespace n4 {
namespace {

RegistryStore* g_installed = nullptr;

}  // namespace

RegistryStore* RegistryStore::Default() {
  return g_installed != nullptr ? g_installed : PlatformRegistryStore();
}

ScopedRegistryStore::ScopedRegistryStore(RegistryStore* store) : previous_(g_installed) {
  g_installed = store;
}

ScopedRegistryStore::~ScopedRegistryStore() { g_installed = previous_; }

}  // namespace n4
