// POSIX systems have no registry; the registry subsystem keeps its own store.
#include "platform/RegistryStore.h"

namespace n4 {

RegistryStore* SystemRegistryStore() { return nullptr; }

}  // namespace n4
