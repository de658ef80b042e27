// Blits and masks of the software drawer: row ranges first, then one inner loop
// per mode, with and without a constant alpha.
#include <algorithm>
#include <vector>

#include "foundation/core/exception.h"
#include "gui/drawing/blend_rows.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/drawing/pixel_modes.h"
#include "media/bitmap/alpha_mask.h"
#include "media/bitmap/bitmap.h"

namespace kx {

using pixel::Fold;
using pixel::Mix;
using pixel::AlphaBlendRow;
using pixel::WithModeAndAlpha;

namespace {

MRect SourceBounds(const MBitmap& source, const MRect& sourceRect) {
  return sourceRect.Intersect(MRect{0, 0, source.Width() - 1, source.Height() - 1});
}

}  // namespace

MDrawerToMBitmap::MDrawerToMBitmap(MBitmap& target)
    : target_(target), clip_{0, 0, target.Width() - 1, target.Height() - 1} {
  if (target.IsPaletteMode()) target.ConvertToTrueColour();
}

int32_t MDrawerToMBitmap::GetWidth() const { return target_.Width(); }
int32_t MDrawerToMBitmap::GetHeight() const { return target_.Height(); }

void MDrawerToMBitmap::SetClip(const MRect& clip) {
  clip_ = clip.Intersect(MRect{0, 0, target_.Width() - 1, target_.Height() - 1});
}

bool MDrawerToMBitmap::PrepareBitmap(const MBitmap& source) {
  bool usable = false;
  Guarded("MDrawerToMBitmap::PrepareBitmap", [&] {
    usable = source.Width() >= 1 && source.Height() >= 1 && !source.IsEmpty() &&
             !source.IsPaletteMode();
  });
  return usable;
}

void MDrawerToMBitmap::BitBlt(MPoint dest, const MBitmap& source, const MRect& sourceRect,
                              uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::BitBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    if (src.IsEmpty()) return;
    // Where the source lands, cut by the clip, and the source offset that goes with it.
    const int32_t shiftX = dest.x + (src.left - sourceRect.left) - src.left;
    const int32_t shiftY = dest.y + (src.top - sourceRect.top) - src.top;
    const MRect d = MRect{src.left + shiftX, src.top + shiftY, src.right + shiftX,
                          src.bottom + shiftY}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      if constexpr (M == MDrawingMode::kAlphaBlend && !decltype(constantAlpha)::value) {
        for (int32_t y = d.top; y <= d.bottom; ++y) {
          AlphaBlendRow(reinterpret_cast<uint32_t*>(PixelAt(d.left, y)),
                        source.Pixels() + static_cast<int64_t>(y - shiftY) * source.Stride() + (d.left - shiftX),
                        d.Width());
        }
        return;
      }
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* s = source.Row(y - shiftY) + static_cast<int64_t>(d.left - shiftX) * 4;
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t x = d.left; x <= d.right; ++x, p += 4, s += 4) {
          int a = s[3];
          if constexpr (decltype(constantAlpha)::value) a = Fold(a, alpha);
          Mix<M>(p, s, a);
        }
      }
    });
  });
}

void MDrawerToMBitmap::PatBlt(const MRect& destRect, const MBitmap& source,
                              const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::PatBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    const MRect d = destRect.Intersect(clip_);
    if (src.IsEmpty() || d.IsEmpty()) return;
    const int32_t sw = src.Width(), sh = src.Height();
    WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* row = source.Row(src.top + (y - destRect.top) % sh) + src.left * 4;
        int32_t sx = (d.left - destRect.left) % sw;
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t x = d.left; x <= d.right; ++x, p += 4) {
          const uint8_t* s = row + sx * 4;
          if (++sx == sw) sx = 0;
          int a = s[3];
          if constexpr (decltype(constantAlpha)::value) a = Fold(a, alpha);
          Mix<M>(p, s, a);
        }
      }
    });
  });
}

namespace {

// Source sample of each destination index under a stretch of `sourceLength`
// pixels from `sourceStart` over `destLength` pixels: the pixel under each
// destination pixel's centre. Indices run from `first` to `last` of the
// destination, counted from its start.
std::vector<int32_t> SampleTable(int32_t sourceStart, int64_t sourceLength, int64_t destLength,
                                 int32_t first, int32_t last) {
  std::vector<int32_t> table(last - first + 1);
  for (int32_t i = first; i <= last; ++i) {
    table[i - first] = static_cast<int32_t>(sourceStart + (2 * int64_t{i} + 1) * sourceLength / (2 * destLength));
  }
  return table;
}

// Blends over each pixel of `d` the source pixel of row rows[y - d.top] and
// column columns[x - d.left]; a null `columns` reads the source row in order
// from `firstColumn`.
void BlitMapped(MBitmap& target, const MRect& d, const MBitmap& source, const int32_t* rows,
                const int32_t* columns, int32_t firstColumn, uint8_t alpha, MDrawingMode mode) {
  const int32_t width = d.Width();
  WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
    constexpr MDrawingMode M = decltype(tag)::value;
    constexpr bool kConstant = decltype(constantAlpha)::value;
    if constexpr (M == MDrawingMode::kAlphaBlend && !kConstant) {
      // Each source row is gathered once into a scratch row, which every
      // destination row it lands on blends with the wide row routine.
      std::vector<uint32_t> sampled(columns ? width : 0);
      int32_t sampledRow = -1;
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint32_t* row = source.Pixels() + static_cast<int64_t>(rows[y - d.top]) * source.Stride();
        uint32_t* out = reinterpret_cast<uint32_t*>(target.Row(y)) + d.left;
        if (!columns) {
          AlphaBlendRow(out, row + firstColumn, width);
          continue;
        }
        if (rows[y - d.top] != sampledRow) {
          for (int32_t i = 0; i < width; ++i) sampled[i] = row[columns[i]];
          sampledRow = rows[y - d.top];
        }
        AlphaBlendRow(out, sampled.data(), width);
      }
      return;
    }
    for (int32_t y = d.top; y <= d.bottom; ++y) {
      const uint8_t* row = source.Row(rows[y - d.top]);
      uint8_t* p = target.Row(y) + static_cast<int64_t>(d.left) * 4;
      if (!columns) {
        const uint8_t* s = row + static_cast<int64_t>(firstColumn) * 4;
        for (int32_t i = 0; i < width; ++i, p += 4, s += 4) pixel::BlitPixel<M, kConstant>(p, s, alpha);
      } else {
        for (int32_t i = 0; i < width; ++i, p += 4) {
          pixel::BlitPixel<M, kConstant>(p, row + static_cast<int64_t>(columns[i]) * 4, alpha);
        }
      }
    }
  });
}

}  // namespace

void MDrawerToMBitmap::StretchBlt(const MRect& destRect, const MBitmap& source,
                                  const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::StretchBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty() || destRect.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    const MRect d = destRect.Intersect(clip_);
    if (src.IsEmpty() || d.IsEmpty()) return;
    const auto columns = SampleTable(src.left, src.Width(), destRect.Width(), d.left - destRect.left,
                                     d.right - destRect.left);
    const auto rows = SampleTable(src.top, src.Height(), destRect.Height(), d.top - destRect.top,
                                  d.bottom - destRect.top);
    BlitMapped(target_, d, source, rows.data(), columns.data(), 0, alpha, mode);
  });
}

void MDrawerToMBitmap::StretchBltH(const MRect& destRect, const MBitmap& source,
                                   const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::StretchBltH", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty() || destRect.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    if (src.IsEmpty()) return;
    // Rows one to one from the top, no more than the source has.
    const MRect d = MRect{destRect.left, destRect.top, destRect.right,
                          std::min(destRect.bottom, destRect.top + src.Height() - 1)}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    const auto columns = SampleTable(src.left, src.Width(), destRect.Width(), d.left - destRect.left,
                                     d.right - destRect.left);
    std::vector<int32_t> rows(d.Height());
    for (int32_t y = d.top; y <= d.bottom; ++y) rows[y - d.top] = src.top + (y - destRect.top);
    BlitMapped(target_, d, source, rows.data(), columns.data(), 0, alpha, mode);
  });
}

void MDrawerToMBitmap::StretchBltV(const MRect& destRect, const MBitmap& source,
                                   const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::StretchBltV", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty() || destRect.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    if (src.IsEmpty()) return;
    // Columns one to one from the left, no more than the source has.
    const MRect d = MRect{destRect.left, destRect.top,
                          std::min(destRect.right, destRect.left + src.Width() - 1), destRect.bottom}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    const auto rows = SampleTable(src.top, src.Height(), destRect.Height(), d.top - destRect.top,
                                  d.bottom - destRect.top);
    BlitMapped(target_, d, source, rows.data(), nullptr, src.left + (d.left - destRect.left), alpha, mode);
  });
}

void MDrawerToMBitmap::AlphaMask(MPoint dest, const MAlphaMask& mask, MColor color, uint8_t alpha,
                                 MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::AlphaMask", [&] {
    if (mask.IsEmpty() || target_.IsEmpty()) return;
    const MRect d = MRect{dest.x, dest.y, dest.x + mask.Width() - 1, dest.y + mask.Height() - 1}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    const int colourAlpha = alpha == 255 ? color.a : Fold(color.a, alpha);
    const uint8_t* s = &color.b;
    pixel::WithMode(mode, [&](auto tag) {
      constexpr MDrawingMode M = decltype(tag)::value;
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* coverage = mask.Row(y - dest.y) + (d.left - dest.x);
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t i = 0; i < d.Width(); ++i, p += 4) {
          if (coverage[i] != 0) Mix<M>(p, s, Fold(colourAlpha, coverage[i]));
        }
      }
    });
  });
}

}  // namespace kx
