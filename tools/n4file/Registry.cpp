// n4file registry: values of the product's settings store.
#include <n4file/Registry.h>

#include "Commands.h"

namespace n4tool {
namespace {

struct Options {
  bool user = false;
  std::string section;
  std::string name;
  std::string value;
  bool dword = false;
};

// The key below the product key: "" is the version key itself.
std::string KeyText(const Options& o) {
  return o.section.empty() ? CN4Registry::BuildRegistryKey() : CN4Registry::BuildRegistryKey(o.section.c_str());
}

int Get(const Options& o) {
  CN4Registry registry;
  const char* section = o.section.empty() ? nullptr : o.section.c_str();
  const int opened = o.user ? registry.OpenUserRegistryKey(section) : registry.OpenMachineRegistryKey(section);
  if (!opened) return Fail(KeyText(o), "no such key");
  std::string text;
  unsigned long number = 0;
  if (registry.GetRegistryString(o.name.c_str(), text)) {
    std::printf("%s\n", text.c_str());
  } else if (registry.GetRegistryDword(o.name.c_str(), &number)) {
    std::printf("%lu\n", number);
  } else {
    return Fail(KeyText(o), "no text or number value \"" + o.name + "\"");
  }
  return kExitOk;
}

int Set(const Options& o) {
  CN4Registry registry;
  const char* section = o.section.empty() ? nullptr : o.section.c_str();
  const int created = o.user ? registry.CreateUserRegistryKey(section) : registry.CreateMachineRegistryKey(section);
  if (!created) return Fail(KeyText(o), "cannot be created");
  int ok = 0;
  if (o.dword) {
    char* end = nullptr;
    const unsigned long long n = std::strtoull(o.value.c_str(), &end, 0);
    if (o.value.empty() || *end || n > 0xFFFFFFFFull) UsageError("--dword needs a number from 0 to 4294967295");
    unsigned long number = static_cast<unsigned long>(n);
    ok = registry.SetRegistryDword(o.name.c_str(), &number);
  } else {
    ok = registry.SetRegistryString(o.name.c_str(), o.value.c_str());
  }
  if (!ok) return Fail(KeyText(o), "cannot write \"" + o.name + "\"");
  return kExitOk;
}

int Import(const std::string& path) {
  std::string cause;
  if (!n4::ImportRegistryFile(path, &cause)) return Fail(path, cause);
  return kExitOk;
}

int Export(const Options& o) {
  std::string cause;
  if (!n4::ExportRegistryFile(o.user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, KeyText(o), o.value, &cause)) {
    return Fail(cause == "no such key" ? KeyText(o) : o.value, cause);
  }
  return kExitOk;
}

}  // namespace

void AddRegistryCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("registry", "Read and write the product's settings");
  cmd->require_subcommand(1);
  cmd->footer("Sections lie below \"" + CN4Registry::BuildRegistryKey() +
              "\", machine-wide unless --user.\nExample:\n"
              "  n4file registry set \"File Locations\" DataPath /srv/n4000\n"
              "  n4file registry get \"File Locations\" DataPath\n"
              "  n4file registry export -o settings.reg\n  n4file registry import settings.reg");
  auto g = std::make_shared<Options>();
  auto* get = cmd->add_subcommand("get", "Print a text or number value");
  get->add_flag("--user", g->user, "The user's settings instead of the machine's");
  get->add_option("SECTION", g->section, "Section below the product key, e.g. \"File Locations\"")->required();
  get->add_option("NAME", g->name, "Value name")->required();
  get->callback([g] { SetExitStatus(Get(*g)); });
  auto s = std::make_shared<Options>();
  auto* set = cmd->add_subcommand("set", "Write a text value (or a number with --dword)");
  set->add_flag("--user", s->user, "The user's settings instead of the machine's");
  set->add_flag("--dword", s->dword, "Store VALUE as a 32-bit number");
  set->add_option("SECTION", s->section, "Section below the product key")->required();
  set->add_option("NAME", s->name, "Value name")->required();
  set->add_option("VALUE", s->value, "The value")->required();
  set->callback([s] { SetExitStatus(Set(*s)); });
  auto file = std::make_shared<std::string>();
  auto* import = cmd->add_subcommand("import", "Apply a .reg export file to the settings");
  import->add_option("FILE", *file, "A registry export file (version 5.00 or REGEDIT4)")->required();
  import->callback([file] { SetExitStatus(Import(*file)); });
  auto e = std::make_shared<Options>();
  auto* exp = cmd->add_subcommand("export", "Write a section and everything below it as a .reg file");
  exp->add_flag("--user", e->user, "The user's settings instead of the machine's");
  exp->add_option("-o,--output", e->value, "The .reg file to write")->required();
  exp->add_option("SECTION", e->section, "Section below the product key (default: all the product's settings)");
  exp->callback([e] { SetExitStatus(Export(*e)); });
}

}  // namespace n4tool
