#include "foundation/platform/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "foundation/path_text.h"

namespace kx {
namespace {

MString FromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? FromSystem(value) : MString();
}

}  // namespace

MString UserHomeFolder() {
  MString home = FromEnvironment("HOME");
  if (!home.IsEmpty()) return home;
  // No HOME (a service, a stripped environment): ask the password database.
  long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
      found->pw_dir)
    return FromSystem(found->pw_dir);
  return MString();
}

MString UserConfigFolder() {
  // A relative value is invalid by the desktop's rules and is ignored.
  MString configured = FromEnvironment("XDG_CONFIG_HOME");
  if (!configured.IsEmpty() && configured[0] == '/') return configured;
  MString home = UserHomeFolder();
  if (home.IsEmpty()) return home;
  while (home.Length() > 1 && home[home.Length() - 1] == '/') home.Delete(home.Length() - 1, 1);
  if (home == "/") return MString("/.config");
  return home + MString("/.config");
}

}  // namespace kx
