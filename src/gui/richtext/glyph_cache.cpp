#include "gui/richtext/glyph_cache.h"

#include <atomic>
#include <list>
#include <utility>

#include "foundation/core/exception.h"
#include "media/fonts/font.h"

namespace kx {

namespace {

// A hostile text can name a million different code points; beyond this many a
// font's rare glyphs are dropped and rendered again when needed.
constexpr size_t kMaxHighGlyphs = 4096;
// Fonts kept per thread: a few styles' worth.
constexpr size_t kMaxTables = 48;

std::atomic<int64_t> renders{0};

struct MThreadGlyphCache {
  // Most recently used first.
  std::list<std::pair<uint64_t, std::unique_ptr<MGlyphTable>>> tables;
};

}  // namespace

MGlyphTable::MGlyphTable(MFont& font)
    : font_(font), ascent_(font.Ascent()), descent_(font.Descent()), lineHeight_(font.LineHeight()) {}

std::unique_ptr<MCachedGlyph> MGlyphTable::Render(uint32_t code) {
  auto glyph = std::make_unique<MCachedGlyph>();
  if (code == 9) code = ' ';
  if (code < 32) return glyph;
  renders.fetch_add(1, std::memory_order_relaxed);
  try {
    font_.RenderGlyph(code, glyph->mask, glyph->advance);
  } catch (MException&) {
    glyph = std::make_unique<MCachedGlyph>();
  }
  return glyph;
}

const MCachedGlyph& MGlyphTable::Load(uint32_t code) {
  if (code < low_.size()) {
    low_[code] = Render(code);
    return *low_[code];
  }
  auto found = high_.find(code);
  if (found != high_.end()) return *found->second;
  if (high_.size() >= kMaxHighGlyphs) high_.clear();
  return *(high_[code] = Render(code));
}

MGlyphTable& GlyphsOf(MFont& font) {
  thread_local MThreadGlyphCache cache;
  auto& tables = cache.tables;
  const uint64_t serial = font.Serial();
  if (!tables.empty() && tables.front().first == serial) return *tables.front().second;
  for (auto it = tables.begin(); it != tables.end(); ++it) {
    if (it->first == serial) {
      tables.splice(tables.begin(), tables, it);
      return *tables.front().second;
    }
  }
  if (tables.size() >= kMaxTables) tables.pop_back();
  tables.emplace_front(serial, std::make_unique<MGlyphTable>(font));
  return *tables.front().second;
}

int64_t GlyphRenderCount() { return renders.load(std::memory_order_relaxed); }

}  // namespace kx
