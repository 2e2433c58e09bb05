#include "n4file/Registry.h"
#include "platform/Env.h"
#include "registry/FileRegistryStore.h"
#include "registry/StoreSelection.h"

namespace n4 {
namespace {

std::string DirectoryFor(HKEY root) {
  Env* env = Env::Default();
  std::string dir = env->GetEnvironmentVariable("N4_REGISTRY_DIR");
  if (!dir.empty()) return dir;
  if (root == HKEY_LOCAL_MACHINE) return JoinPath(CN4Registry::GetDefaultDirectory(), "registry");
  std::string config = env->GetEnvironmentVariable("XDG_CONFIG_HOME");
  if (config.empty()) {
    std::string home = env->GetEnvironmentVariable("HOME");
    if (home.empty()) return {};
    config = JoinPath(home, ".config");
  }
  return JoinPath(config, "n4000");
}

}  // namespace

std::string LocateRegistryFile(HKEY root) {
  std::string name = FileRegistryStore::RootName(root);
  if (name.empty()) return {};
  std::string dir = DirectoryFor(root);
  return dir.empty() ? std::string() : JoinPath(dir, name + ".reg");
}

}  // namespace n4
