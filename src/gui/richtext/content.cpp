// The tag handler keeps format as stacks that only the matching close pops, so
// unclosed and crossed tags are harmless: a pop never removes the base entry.
// Runs take their format when opened; a state change opens a new run only when
// the current one already holds something.
#include "gui/richtext/content.h"

#include <atomic>
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "gui/richtext/content_objects.h"
#include "gui/richtext/content_paragraph.h"
#include "gui/richtext/content_table.h"

namespace kx {

namespace {

std::atomic<int64_t> parses{0};

bool Is(const MString& name, const char* tag) { return name == tag; }

}  // namespace

MContent::MContent() { ResetState(); }

MContent::MContent(const MString& text) : MContent() { SetText(text); }

MContent::MContent(const MContent& other) : MContentContainer(other), tagsets_(other.tagsets_) {
  ResetState();
}

MContent& MContent::operator=(const MContent& other) {
  if (this != &other) {
    MContentElements copies;
    copies.reserve(other.Elements.size());
    for (const auto& element : other.Elements) copies.push_back(element->Clone());
    Elements = std::move(copies);
    tagsets_ = other.tagsets_;
    ResetState();
  }
  return *this;
}

MContent::~MContent() = default;

std::unique_ptr<MContentElement> MContent::Clone() const { return std::make_unique<MContent>(*this); }

int64_t MContent::ParseCount() { return parses.load(std::memory_order_relaxed); }

void MContent::ResetState() {
  fontStack_.assign(1, -1);
  colorIndexStack_.assign(1, -1);
  customColorStack_.assign(1, 0);
  alphaStack_.assign(1, 255);
  invertCounter_ = 0;
  container_ = this;
  paragraph_ = nullptr;
  tableStack_.clear();
  ignoredRows_ = 0;
  alignment_ = 0;
  singleLine_ = false;
  recording_ = -1;
  replayDepth_ = 0;
  replayed_ = 0;
}

void MContent::SetText(const MString& text) {
  parses.fetch_add(1, std::memory_order_relaxed);
  ResetState();
  Elements.clear();
  tagsets_.clear();
  MByteBuffer bytes;
  text.ToUTF8(bytes);
  MConstMemoryStream stream(bytes.Data(), bytes.Size());
  MXMLParser parser(stream);
  parser.KeepBlankAfterWord(true);
  try {
    parser.Parse(*this);
  } catch (std::bad_alloc&) {
    throw MException(MString("Out of memory."));
  }
}

int32_t MContent::ComputeHeight(MDrawer& drawer, int32_t width, int32_t maxHeight) {
  Size = 0;
  if (!drawer.GetStyle()) return 0;
  Guarded("MContent::ComputeHeight", [&] {
    MContentContainer::ComputeHeight(drawer, std::max(width, 0), std::clamp(maxHeight, 0, kContentMaxExtent));
  });
  return Size;
}

void MContent::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  if (!drawer.GetStyle() || rect.IsEmpty()) return;
  // A single line longer than the box, or a row too wide, stays inside it.
  const MRect clip = drawer.GetClip();
  const MRect inside = clip.Intersect(rect);
  if (inside.IsEmpty()) return;
  drawer.SetClip(inside);
  Guarded("MContent::Paint", [&] { MContentContainer::Paint(drawer, rect, inverted); });
  drawer.SetClip(clip);
}

// ---- parser callbacks --------------------------------------------------------

bool MContent::OnElement(const MString& name, const MXMLParsedAttributes* attributes, bool closing) {
  Tag(name, attributes, closing);
  return false;
}

bool MContent::OnText(const MString& text) {
  if (!container_) return false;  // between cells: dropped
  // Blanks alone do not open a paragraph: they would stand as an empty line.
  if (!paragraph_ && text.Length() == 1 && text[0] == ' ') return false;
  MContentParagraph& paragraph = EnsureParagraph();
  if (paragraph.Runs.back().Object) {
    paragraph.Runs.push_back(paragraph.Runs.back());
    paragraph.Runs.back().Object.reset();
  }
  MContentRun& run = paragraph.Runs.back();
  if (paragraph.Runs.size() == 1 && run.Text.IsEmpty()) {
    int32_t start = 0;
    while (start < text.Length() && text[start] <= ' ') ++start;
    run.Text = start ? text.Mid(start) : text;
  } else {
    run.Text += text;
  }
  return false;
}

// ---- runs and paragraphs -----------------------------------------------------

void MContent::Restyle() {
  if (!container_ || !paragraph_) return;
  MContentRun* run = &paragraph_->Runs.back();
  if (!run->IsEmpty()) {
    paragraph_->Runs.emplace_back();
    run = &paragraph_->Runs.back();
  }
  run->Font = fontStack_.back();
  run->ColorIndex = colorIndexStack_.back();
  run->CustomColor = customColorStack_.back();
  run->Alpha = alphaStack_.back();
  run->Inverted = invertCounter_ > 0;
}

void MContent::StartParagraph(const MXMLParsedAttributes* attributes) {
  if (!container_) return;
  auto paragraph = std::make_unique<MContentParagraph>();
  paragraph->Flags = static_cast<uint8_t>(alignment_ & kParagraphAlignMask);
  if (singleLine_ || AttributeInt(attributes, "singleline", 0) != 0) paragraph->Flags |= kParagraphSingleLine;
  paragraph->ReadCommon(attributes);
  paragraph->Runs.emplace_back();
  paragraph_ = paragraph.get();
  container_->Elements.push_back(std::move(paragraph));
  Restyle();
}

MContentParagraph& MContent::EnsureParagraph() {
  if (!paragraph_) StartParagraph(nullptr);
  return *paragraph_;
}

void MContent::AddObject(std::unique_ptr<MContentObject> object) {
  if (!container_) return;
  MContentParagraph& paragraph = EnsureParagraph();
  if (!paragraph.Runs.back().IsEmpty()) {
    paragraph.Runs.push_back(paragraph.Runs.back());
    paragraph.Runs.back().Text.Clear();
    paragraph.Runs.back().Object.reset();
  }
  const bool ends = object->EndsParagraph();
  paragraph.Runs.back().Object = std::move(object);
  if (ends) paragraph_ = nullptr;
}

// ---- tables ------------------------------------------------------------------

void MContent::OpenRow(std::unique_ptr<MContentRow> row) {
  tableStack_.push_back(row.get());
  container_->Elements.push_back(std::move(row));
}

void MContent::CloseRow() {
  if (ignoredRows_ > 0) {
    --ignoredRows_;
    return;
  }
  if (tableStack_.empty()) return;
  tableStack_.pop_back();
  container_ = this;
  if (!tableStack_.empty() && !tableStack_.back()->Elements.empty()) {
    container_ = static_cast<MContentContainer*>(tableStack_.back()->Elements.back().get());
  }
  paragraph_ = nullptr;
}

// ---- tags --------------------------------------------------------------------

void MContent::Tag(const MString& name, const MXMLParsedAttributes* attributes, bool closing) {
  if (Is(name, "tagset")) {
    if (closing) {
      recording_ = -1;
    } else if (const MString* tagsetName = FindAttribute(attributes, "name")) {
      tagsets_.push_back(MContentTagset{*tagsetName, {}});
      recording_ = static_cast<int32_t>(tagsets_.size()) - 1;
    }
    return;
  }
  if (recording_ >= 0) {
    MContentTagRecord record;
    record.name = name;
    record.closing = closing;
    if (attributes) {
      record.attributes = *attributes;
      record.hasAttributes = true;
    }
    tagsets_[recording_].records.push_back(std::move(record));
    return;
  }

  // Fonts.
  static constexpr const char* kFontTags[] = {"normal", "b", "i", "s", "l1", "l2", "l3", "l4"};
  for (int32_t font = 0; font < 8; ++font) {
    if (!Is(name, kFontTags[font])) continue;
    if (closing) Pop(fontStack_);
    else fontStack_.push_back(font);
    Restyle();
    return;
  }
  // Colours, alpha and inversion.
  if (Is(name, "cd") || Is(name, "c")) {
    const MString* color = FindAttribute(attributes, "color");
    if (Is(name, "c") && !color) return;  // `c` needs its colour on both calls
    if (closing) {
      Pop(colorIndexStack_);
      Pop(customColorStack_);
    } else {
      colorIndexStack_.push_back(0);
      customColorStack_.push_back(color ? ParseContentColor(*color) : 0);
    }
    Restyle();
    return;
  }
  static constexpr const char* kColorTags[] = {"cred", "cgreen", "cblue"};
  for (int32_t i = 0; i < 3; ++i) {
    if (!Is(name, kColorTags[i])) continue;
    if (closing) Pop(colorIndexStack_);
    else colorIndexStack_.push_back(i + 2);
    Restyle();
    return;
  }
  if (Is(name, "ci")) {
    invertCounter_ += closing ? -1 : 1;
    Restyle();
    return;
  }
  if (Is(name, "alpha")) {
    if (closing) Pop(alphaStack_);
    else alphaStack_.push_back(static_cast<uint8_t>(AttributeInt(attributes, "value", -1)));
    Restyle();
    return;
  }
  // Blocks.
  static constexpr const char* kAlignTags[] = {"left", "center", "right", "justify"};
  for (uint8_t i = 0; i < 4; ++i) {
    if (!Is(name, kAlignTags[i])) continue;
    if (closing) {
      paragraph_ = nullptr;
    } else {
      alignment_ = i;
      StartParagraph(attributes);
    }
    return;
  }
  if (Is(name, "p")) {
    if (closing) paragraph_ = nullptr;
    else StartParagraph(attributes);
    return;
  }
  if (Is(name, "header1") || Is(name, "header2")) {
    const int32_t font = Is(name, "header1") ? 4 : 5;
    if (closing) {
      Pop(fontStack_);
      Restyle();
      StartParagraph(nullptr);
      StartParagraph(nullptr);
    } else {
      if (paragraph_) {
        StartParagraph(nullptr);
        StartParagraph(nullptr);
      }
      fontStack_.push_back(font);
      Restyle();
    }
    return;
  }
  // Tables.
  if (Is(name, "tr") || Is(name, "li")) {
    if (closing) {
      CloseRow();
      return;
    }
    if (!container_ || tableStack_.size() >= static_cast<size_t>(kContentMaxTableDepth)) {
      ++ignoredRows_;
      return;
    }
    auto row = std::make_unique<MContentRow>();
    if (Is(name, "tr")) {
      row->Read(attributes);
      OpenRow(std::move(row));
      container_ = nullptr;
      paragraph_ = nullptr;
      return;
    }
    const int32_t size = AttributeInt(attributes, "size", 2);
    auto bullet = std::make_unique<MContentCell>();
    bullet->AutoSize = 1;
    bullet->VAlign = 1;
    auto image = std::make_unique<MContentImage>();
    image->Source = MImageSource::kIcon;
    image->Id = static_cast<uint32_t>(size == 1   ? MContentImage::kBulletSmall
                                      : size == 2 ? MContentImage::kBulletMedium
                                                  : MContentImage::kBulletLarge);
    bullet->Elements.push_back(std::move(image));
    row->Elements.push_back(std::move(bullet));
    auto text = std::make_unique<MContentCell>();
    MContentCell* textCell = text.get();
    row->Elements.push_back(std::move(text));
    OpenRow(std::move(row));
    container_ = textCell;
    paragraph_ = nullptr;
    return;
  }
  if (Is(name, "td")) {
    if (tableStack_.empty() || ignoredRows_ > 0) return;
    if (closing) {
      container_ = nullptr;
      paragraph_ = nullptr;
      return;
    }
    auto cell = std::make_unique<MContentCell>();
    cell->Read(attributes);
    container_ = cell.get();
    paragraph_ = nullptr;
    tableStack_.back()->Elements.push_back(std::move(cell));
    return;
  }
  // Inline objects: open only.
  if (Is(name, "img") || Is(name, "hline") || Is(name, "rectangle") || Is(name, "indicator")) {
    if (closing || !container_) return;
    std::unique_ptr<MContentObject> object;
    if (Is(name, "img")) {
      auto image = std::make_unique<MContentImage>();
      image->Read(attributes);
      object = std::move(image);
    } else if (Is(name, "hline")) {
      auto line = std::make_unique<MContentLine>();
      line->Read(attributes);
      object = std::move(line);
    } else if (Is(name, "rectangle")) {
      auto rectangle = std::make_unique<MContentRectangle>();
      rectangle->Read(attributes);
      object = std::move(rectangle);
    } else {
      auto indicator = std::make_unique<MContentIndicator>();
      indicator->Read(attributes);
      object = std::move(indicator);
    }
    AddObject(std::move(object));
    return;
  }
  if (Is(name, "spacer")) {
    if (closing || !container_) return;
    MContentParagraph& paragraph = EnsureParagraph();
    if (!paragraph.Runs.back().IsEmpty()) Restyle();
    paragraph.Runs.back().Text = MString(" ");
    return;
  }
  Replay(name, closing);
}

bool MContent::Replay(const MString& name, bool closing) {
  const MContentTagset* tagset = nullptr;
  for (const MContentTagset& candidate : tagsets_) {
    if (candidate.name == name) {
      tagset = &candidate;
      break;
    }
  }
  if (!tagset || replayDepth_ >= kMaxReplayDepth) return false;
  // Replaying may define tagsets and so move the list: work on a copy.
  const std::vector<MContentTagRecord> records = tagset->records;
  ++replayDepth_;
  if (!closing) {
    for (const MContentTagRecord& record : records) {
      if (++replayed_ > kMaxReplayedTags) break;
      Tag(record.name, record.hasAttributes ? &record.attributes : nullptr, record.closing);
    }
  } else {
    for (auto it = records.rbegin(); it != records.rend(); ++it) {
      if (it->closing) continue;
      if (++replayed_ > kMaxReplayedTags) break;
      Tag(it->name, it->hasAttributes ? &it->attributes : nullptr, true);
    }
  }
  --replayDepth_;
  return true;
}

}  // namespace kx
