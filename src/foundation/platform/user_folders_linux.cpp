#include "foundation/platform/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/files/path_text.h"

namespace kx {
namespace {

MString FromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? FromSystem(value) : MString();
}

// Trailing separators go, so that joining and comparing behave the same
// whichever way the variable was written; the root stays the root.
MString WithoutTrailingSlash(MString path) {
  while (path.Length() > 1 && path[path.Length() - 1] == '/') path.Delete(path.Length() - 1, 1);
  return path;
}

// A relative value is invalid by the desktop's base-directory rules and is
// ignored, as an empty one is.
MString AbsoluteFromEnvironment(const char* name) {
  MString configured = FromEnvironment(name);
  if (!configured.IsEmpty() && configured[0] == '/') return WithoutTrailingSlash(configured);
  return MString();
}

// JoinPath takes a base of "/" alone for "no base"; a home at the root is rare
// (some service accounts) but must still give absolute paths.
MString Below(const MString& base, const MString& relative) {
  if (base == "/") return relative.StartsWith("/") ? relative : MString("/") + relative;
  return JoinPath(base, relative);
}

MString BelowHome(const char* relative) {
  MString home = UserHomeFolder();
  if (home.IsEmpty()) return home;
  return Below(home, relative);
}

std::string ReadSmallFile(const MString& path) {
  std::string content;
  std::FILE* file = std::fopen(ToSystem(path).c_str(), "rb");
  if (!file) return content;
  char block[4096];
  size_t got;
  // The file is a few hundred bytes; a cap keeps a pathological one harmless.
  while ((got = std::fread(block, 1, sizeof block, file)) > 0 && content.size() < (1u << 20))
    content.append(block, got);
  std::fclose(file);
  return content;
}

// The value of `key` in the user-dirs file's text, as the file spells it
// (without quotes, escapes resolved); false when the key has no valid line.
// Lines look like: XDG_MUSIC_DIR="$HOME/Music". The file is written to be read
// by a shell, so a backslash takes the next character literally.
bool FindUserDirsValue(const std::string& text, const std::string& key, std::string& value) {
  bool found = false;
  size_t lineStart = 0;
  while (lineStart < text.size()) {
    size_t lineEnd = text.find('\n', lineStart);
    if (lineEnd == std::string::npos) lineEnd = text.size();
    size_t at = lineStart;
    while (at < lineEnd && (text[at] == ' ' || text[at] == '\t')) ++at;
    if (text.compare(at, key.size(), key) == 0) {
      at += key.size();
      while (at < lineEnd && (text[at] == ' ' || text[at] == '\t')) ++at;
      if (at < lineEnd && text[at] == '=') {
        ++at;
        while (at < lineEnd && (text[at] == ' ' || text[at] == '\t')) ++at;
        if (at < lineEnd && text[at] == '"') {
          std::string candidate;
          bool closed = false;
          for (++at; at < lineEnd; ++at) {
            if (text[at] == '\\' && at + 1 < lineEnd) {
              candidate += text[++at];
            } else if (text[at] == '"') {
              closed = true;
              break;
            } else {
              candidate += text[at];
            }
          }
          // The last valid line wins, as when a shell sources the file.
          if (closed) {
            value = candidate;
            found = true;
          }
        }
      }
    }
    lineStart = lineEnd + 1;
  }
  return found;
}

}  // namespace

MString UserHomeFolder() {
  MString home = FromEnvironment("HOME");
  if (!home.IsEmpty()) return WithoutTrailingSlash(home);
  // No HOME (a service, a stripped environment): ask the password database.
  long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
      found->pw_dir && found->pw_dir[0] != 0)
    return WithoutTrailingSlash(FromSystem(found->pw_dir));
  return MString();
}

MString UserConfigFolder() {
  MString configured = AbsoluteFromEnvironment("XDG_CONFIG_HOME");
  return configured.IsEmpty() ? BelowHome(".config") : configured;
}

MString UserDataFolder() {
  MString configured = AbsoluteFromEnvironment("XDG_DATA_HOME");
  return configured.IsEmpty() ? BelowHome(".local/share") : configured;
}

MString UserDirectory(const char* key, const char* fallbackName) {
  MString home = UserHomeFolder();
  MString config = UserConfigFolder();
  if (!config.IsEmpty()) {
    std::string value;
    if (FindUserDirsValue(ReadSmallFile(Below(config, "user-dirs.dirs")), key, value)) {
      // "$HOME" alone is how the file says "no own folder, use the home".
      if (value == "$HOME" || value.starts_with("$HOME/")) {
        if (!home.IsEmpty()) return WithoutTrailingSlash(Below(home, FromSystem(value.substr(5))));
      } else if (value.starts_with("/")) {
        return WithoutTrailingSlash(FromSystem(value));
      }
      // Any other form is not valid in the file; the default applies.
    }
  }
  return home.IsEmpty() ? home : Below(home, fallbackName);
}

MString UserVstFolder() {
  return BelowHome(".vst");
}

MString NearestSystemFolder(int32_t index) {
  switch (index) {
    case 0:   // data
    case 14:  // lib
      return UserDataFolder();
    case 1:  // userdata
      return UserConfigFolder();
    case 2:  // user
      return UserHomeFolder();
    case 3:  // documents: no folder shared by all users without privileges
      return MString();
    case 4:  // userdocuments
      return UserDirectory("XDG_DOCUMENTS_DIR", "Documents");
    case 5:  // programfiles
    case 6:  // components
      return BelowHome(".local/lib");
    case 7:     // startmenu
    case 8:     // userstartmenu
    case 9:     // startmenuprograms
    case 10: {  // userstartmenuprograms
      MString data = UserDataFolder();
      return data.IsEmpty() ? data : Below(data, "applications");
    }
    case 11:  // desktop
    case 12:  // userdesktop
      return UserDirectory("XDG_DESKTOP_DIR", "Desktop");
    case 13:  // system
      return MString("/usr");
    case 15: {  // fonts
      MString data = UserDataFolder();
      return data.IsEmpty() ? data : Below(data, "fonts");
    }
    case 16:  // download
      return UserDirectory("XDG_DOWNLOAD_DIR", "Downloads");
    case 17:  // mymusic
      return UserDirectory("XDG_MUSIC_DIR", "Music");
    case 18:  // myvideo
      return UserDirectory("XDG_VIDEOS_DIR", "Videos");
    case 19:  // mypictures
      return UserDirectory("XDG_PICTURES_DIR", "Pictures");
    case 20: {  // temp
      MString configured = AbsoluteFromEnvironment("TMPDIR");
      return configured.IsEmpty() ? MString("/tmp") : configured;
    }
    default:
      return MString();
  }
}

}  // namespace kx
