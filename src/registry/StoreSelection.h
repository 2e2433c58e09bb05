// Which settings store CN4Registry uses, and where the file-backed store
// keeps its files.
//
// The system registry where the operating system has one; elsewhere ".reg"
// files, one per root:
//
//   $N4_REGISTRY_DIR/HKEY_LOCAL_MACHINE.reg and .../HKEY_CURRENT_USER.reg
//
// When N4_REGISTRY_DIR is not set, the machine-wide file lies beside the
// product data (<default data directory>/registry) and the user's file in the
// user's configuration directory ($XDG_CONFIG_HOME/n4000, else
// $HOME/.config/n4000). The variables are read on each open, so a process
// can be pointed elsewhere at run time (tests do).
#pragma once

#include <string>

#include "platform/RegistryStore.h"

namespace n4 {

// The store in use: a test's, else the system registry, else the files.
RegistryStore* DefaultRegistryStore();

// The file that holds a predefined root's keys; "" when there is none.
std::string LocateRegistryFile(HKEY root);

// Installs a store for the lifetime of this object (tests only; not thread-safe).
class ScopedRegistryStore {
 public:
  explicit ScopedRegistryStore(RegistryStore* store);
  ~ScopedRegistryStore();
  ScopedRegistryStore(const ScopedRegistryStore&) = delete;
  ScopedRegistryStore& operator=(const ScopedRegistryStore&) = delete;

 private:
  RegistryStore* previous_;
};

}  // namespace n4
