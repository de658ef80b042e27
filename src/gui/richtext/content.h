// MContent: a text of the rich-text mark-up, parsed once into a tree of
// elements, then measured for a width and painted through any MDrawer as often
// as needed.
//
//   MContent text(MString("<name>Close</name> button closes the window.<p>..."));
//   const int32_t height = text.ComputeHeight(drawer, 400);
//   text.Paint(drawer, MRect{0, 0, 399, height - 1});
//
// The mark-up is not HTML: tags change a state and need not nest or close, an
// unknown tag is ignored. State tags: fonts (`b`, `i`, `s`, `l1`..`l4`,
// `normal`), colours (`cd`, `cred`, `cgreen`, `cblue`, `c color=`), `alpha
// value=`, `ci` (inverted). Block tags: `p`, `left`, `center`, `right`,
// `justify`, `header1`, `header2`, tables (`tr`, `td`, `li`). Inline: `img`,
// `hline`, `rectangle`, `indicator`, `spacer`. `<tagset name=x>...</tagset>`
// records tags that `<x>` replays and `</x>` undoes.
//
// Fonts and colours come from the drawer's style (MDrawer::GetStyle); without
// a style nothing is measured or drawn. A paint must follow a measure at the
// same width: lines and cell widths are kept from the measure.
//
// Failures: SetText throws the parser's MException ("Invalid file contents.
// ..."); the text parsed up to the fault stays. Measuring and painting never
// throw.
#pragma once

#include <cstdint>
#include <vector>

#include "gui/richtext/content_element.h"

namespace kx {

class MContentParagraph;
class MContentRow;

struct MContentTagRecord {
  MString name;
  MXMLParsedAttributes attributes;
  bool hasAttributes = false;
  bool closing = false;
};

struct MContentTagset {
  MString name;
  std::vector<MContentTagRecord> records;
};

class MContent : public MContentContainer, private MXMLHandler {
 public:
  // Replayed tags per text: a tagset that calls itself, or tagsets that
  // double at each level, stop here.
  static constexpr int64_t kMaxReplayedTags = 200000;
  static constexpr int32_t kMaxReplayDepth = 16;

  MContent();
  explicit MContent(const MString& text);
  MContent(const MContent& other);
  MContent& operator=(const MContent& other);
  ~MContent() override;

  void SetText(const MString& text);

  std::unique_ptr<MContentElement> Clone() const override;
  // Height of the whole text at `width`, at most `maxHeight`.
  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t maxHeight) override;
  int32_t ComputeHeight(MDrawer& drawer, int32_t width) { return ComputeHeight(drawer, width, kContentMaxExtent); }
  // Paints from the top of `rect` with the heights of the last measure,
  // clipped to `rect`.
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;
  void Paint(MDrawer& drawer, const MRect& rect) { Paint(drawer, rect, false); }

  const std::vector<MContentTagset>& Tagsets() const { return tagsets_; }
  // Texts parsed by all MContent objects since the process started.
  static int64_t ParseCount();

 private:
  bool OnElement(const MString& name, const MXMLParsedAttributes* attributes, bool closing) override;
  bool OnText(const MString& text) override;

  void ResetState();
  void Tag(const MString& name, const MXMLParsedAttributes* attributes, bool closing);
  bool Replay(const MString& name, bool closing);
  void StartParagraph(const MXMLParsedAttributes* attributes);
  MContentParagraph& EnsureParagraph();
  // Closes or reformats the run in progress after a state change.
  void Restyle();
  void AddObject(std::unique_ptr<class MContentObject> object);
  void OpenRow(std::unique_ptr<MContentRow> row);
  void CloseRow();

  template <typename T>
  static void Pop(std::vector<T>& stack) {
    if (stack.size() > 1) stack.pop_back();
  }

  std::vector<int32_t> fontStack_;
  std::vector<int32_t> colorIndexStack_;
  std::vector<uint32_t> customColorStack_;
  std::vector<uint8_t> alphaStack_;
  int32_t invertCounter_ = 0;
  MContentContainer* container_ = nullptr;
  MContentParagraph* paragraph_ = nullptr;
  std::vector<MContentRow*> tableStack_;
  int32_t ignoredRows_ = 0;  // rows refused beyond the depth limit, still open
  uint8_t alignment_ = 0;
  bool singleLine_ = false;
  std::vector<MContentTagset> tagsets_;
  int32_t recording_ = -1;  // index of the tagset being recorded
  int32_t replayDepth_ = 0;
  int64_t replayed_ = 0;
};

}  // namespace kx
