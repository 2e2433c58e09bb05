// Where the registry lives on POSIX systems: ".reg" files, one per root.
//
//   $N4_REGISTRY_DIR/HKEY_LOCAL_MACHINE.reg and .../HKEY_CURRENT_USER.reg
//
// When N4_REGISTRY_DIR is not set, the machine-wide file lies beside the
// product data (/var/lib/n4000/registry) and the user's file in the user's
// configuration directory ($XDG_CONFIG_HOME/n4000, else $HOME/.config/n4000).
// The variables are read on each open, so a process can be pointed elsewhere
// at run time (tests do).
#include "platform/Env.h"
#include "platform/RegistryStore.h"
#include "registry/FileRegistryStore.h"

namespace n4 {
namespace {

std::string DirectoryFor(HKEY root) {
  Env* env = Env::Default();
  std::string dir = env->GetEnvironmentVariable("N4_REGISTRY_DIR");
  if (!dir.empty()) return dir;
  if (root == HKEY_LOCAL_MACHINE) return "/var/lib/n4000/registry";
  std::string config = env->GetEnvironmentVariable("XDG_CONFIG_HOME");
  if (config.empty()) {
    std::string home = env->GetEnvironmentVariable("HOME");
    if (home.empty()) return {};
    config = JoinPath(home, ".config");
  }
  return JoinPath(config, "n4000");
}

std::string LocateRootFile(HKEY root) {
  std::string name = FileRegistryStore::RootName(root);
  if (name.empty()) return {};
  std::string dir = DirectoryFor(root);
  return dir.empty() ? std::string() : JoinPath(dir, name + ".reg");
}

}  // namespace

RegistryStore* PlatformRegistryStore() {
  static FileRegistryStore store(LocateRootFile);
  return &store;
}

}  // namespace n4
