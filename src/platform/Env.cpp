// Platform-independent parts of the platform layer.
#include "platform/Env.h"
#include "platform/Path.h"

namespace n4 {

Env* DefaultPlatformEnv();  // defined by the platform's implementation

namespace {
Env* g_override = nullptr;
}

Env* Env::Default() { return g_override ? g_override : DefaultPlatformEnv(); }

ScopedEnv::ScopedEnv(Env* env) : previous_(g_override) { g_override = env; }
ScopedEnv::~ScopedEnv() { g_override = previous_; }

bool Fail(SysError* err, DWORD code) {
  if (err) {
    err->code = code;
    err->text = SystemErrorText(code);
  }
  return false;
}

std::string JoinPath(const std::string& dir, const std::string& name) { return path::Append(dir, name); }

std::string DirectoryOf(const std::string& p) { return path::ParentOf(p); }

}  // namespace n4
