// Platform-independent parts of the platform layer.
#include "platform/Env.h"

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

static bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::string JoinPath(const std::string& dir, const std::string& name) {
  if (dir.empty()) return name;
  if (IsSeparator(dir.back())) return dir + name;
  return dir + Env::Default()->PathSeparator() + name;
}

std::string DirectoryOf(const std::string& path) {
  auto pos = path.find_last_of("/\\");
  if (pos == std::string::npos) return "";
  if (pos == 0) return path.substr(0, 1);
  return path.substr(0, pos);
}

}  // namespace n4
