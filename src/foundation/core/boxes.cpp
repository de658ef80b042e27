#include "foundation/core/boxes.h"

#include <atomic>

#include "foundation/core/console_box_host.h"

namespace kx {
namespace {

// The console host is built on first use, so a process that installs its own
// host never touches the terminal.
MBoxHost& ConsoleHost() {
  static MConsoleBoxHost host;
  return host;
}

std::atomic<MBoxHost*> g_host{nullptr};

// The entities that STML text uses to escape its own mark-up characters.
struct Entity {
  const char* name;  // between '&' and ';'
  MChar unit;
};
constexpr Entity kEntities[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}};

// Matches an entity at `at` (the '&'); returns its length, 0 for none.
int32_t MatchEntity(const MString& text, int32_t at, MChar& unit) {
  for (const Entity& entity : kEntities) {
    int32_t length = static_cast<int32_t>(std::char_traits<char>::length(entity.name));
    if (text.CompareCase(at + 1, MString(entity.name), 0, length) == 0 &&
        at + 1 + length < text.Length() && text[at + 1 + length] == ';') {
      unit = entity.unit;
      return length + 2;
    }
  }
  return 0;
}

// An opening "p" tag, with or without attributes; "</p>" only ends a paragraph.
bool IsParagraphTag(const MString& text, int32_t open, int32_t close) {
  int32_t end = open + 1;
  while (end < close && text[end] != ' ' && text[end] != '\t' && text[end] != '/' &&
         text[end] != '\r' && text[end] != '\n')
    ++end;
  return end == open + 2 && text[open + 1] == 'p';
}

}  // namespace

MBoxHost* SetBoxHost(MBoxHost* host) {
  MBoxHost* previous = g_host.exchange(host);
  return previous ? previous : &ConsoleHost();
}

MBoxHost& BoxHost() {
  MBoxHost* host = g_host.load();
  return host ? *host : ConsoleHost();
}

// Only what a reader of plain text needs: paragraphs as line breaks and the
// escaped characters back; every other tag changes looks only and is dropped.
// A '<' without its '>' is kept as text, so a broken text still shows in full.
MString StripMarkup(const MString& text) {
  MString plain;
  plain.Reserve(text.Length());
  for (int32_t i = 0; i < text.Length(); ++i) {
    MChar unit = text[i];
    if (unit == '<') {
      int32_t close = text.FindChar('>', i + 1);
      if (close >= 0) {
        if (IsParagraphTag(text, i, close)) plain.Append(MChar('\n'));
        i = close;
        continue;
      }
    } else if (unit == '&') {
      MChar decoded = 0;
      int32_t length = MatchEntity(text, i, decoded);
      if (length > 0) {
        plain.Append(decoded);
        i += length - 1;
        continue;
      }
    }
    plain.Append(unit);
  }
  return plain;
}

}  // namespace kx
