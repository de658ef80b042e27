#include "gui/controls/control_factory.h"

#include <array>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/layout/layouts.h"

namespace kx {

namespace {

struct ControlKind {
  const char* element;
  MControlType type;
  bool tabStop;
};

// The control elements and the style family their placeholder is drawn with.
constexpr ControlKind kControlKinds[] = {
    {"control", MControlType::kControl, false},
    {"panel", MControlType::kPanel, false},
    {"display", MControlType::kDisplay, false},
    {"editor", MControlType::kEditor, false},
    {"container", MControlType::kPanel, false},
    {"static", MControlType::kStatic, false},
    {"label", MControlType::kStatic, false},
    {"multilinestatic", MControlType::kStatic, false},
    {"button", MControlType::kButton, true},
    {"repeaterbutton", MControlType::kButton, true},
    {"checkbox", MControlType::kCheckBox, true},
    {"edit", MControlType::kEdit, true},
    {"multilineedit", MControlType::kEdit, true},
    {"comboedit", MControlType::kEdit, true},
    {"tabset", MControlType::kTabSet, true},
    {"listbox", MControlType::kEditor, true},
    {"treecontrol", MControlType::kEditor, true},
    {"menubar", MControlType::kMenuBar, false},
    {"progressbar", MControlType::kProgressBar, false},
    {"scrollbar", MControlType::kHScrollBar, false},
    {"tracker", MControlType::kTracker, true},
    {"vtracker", MControlType::kVTracker, true},
    {"rotator", MControlType::kRotator, true},
    {"knob", MControlType::kKnob, true},
    {"valuebutton", MControlType::kValue, true},
    {"switcher", MControlType::kSwitcher, true},
    {"selector", MControlType::kSelector, true},
    {"zoomer", MControlType::kHScrollBar, false},
    {"splitter", MControlType::kControl, false},
    {"directorytree", MControlType::kEditor, true},
    {"filelistbox", MControlType::kEditor, true},
    {"fileselector", MControlType::kPanel, false},
    {"coloreditor", MControlType::kPanel, false},
    {"colorselectbutton", MControlType::kButton, true},
    {"grapheditor", MControlType::kDisplay, false},
    {"signalgeneratoreditor", MControlType::kDisplay, false},
    {"vector2deditor", MControlType::kDisplay, false},
};

constexpr const char* kLayoutElements[] = {"left",    "right",   "top",          "bottom", "vertical",
                                           "horizontal", "overlay", "occupyborder", "corner", "grid"};

constexpr const char* kParameterElements[] = {
    "int", "int32", "int64", "int16", "float", "double", "stepdouble", "percents",
    "signalgeneratorshape", "frequency", "frequencylog", "frequencylinear", "volume", "panorama",
    "pitch", "timems", "stdicon", "stdbitmap", "stdcursor", "stdfont", "stdcolor",
    "horizontalobjectlayout", "verticalobjectlayout", "language", "country", "threadpriority",
    "controltype", "captiontype", "modalvalue", "checkboxstate"};

static_assert(std::size(kControlKinds) + std::size(kLayoutElements) + std::size(kParameterElements) == 77);

thread_local int32_t definitionDepth = 0;

const ControlKind* KindOf(const MString& element) {
  for (const ControlKind& kind : kControlKinds) {
    if (element.EqualsNoCase(MString(kind.element))) return &kind;
  }
  return nullptr;
}

void RegisterWithLayout(MControl& enclosing, MControl& control, MXMLItem& element, bool fromLayout) {
  if (!fromLayout || enclosing.Layouts.empty() || enclosing.ClientLayoutChild == &control) return;
  enclosing.Layouts.back()->ReadMemberAttributes(control, element);
}

void CreateControl(MControl& enclosing, MXMLItem& element, bool fromLayout) {
  const ControlKind* kind = KindOf(element.GetName());
  auto owned = std::make_unique<MControl>();
  owned->ControlType = kind->type;
  owned->Set(MControlFlag::kTabStop, kind->tabStop);
  MControl& control = enclosing.AddChild(std::move(owned));
  if (element.GetAttributeBool("vertical", false) && kind->type == MControlType::kHScrollBar)
    control.ControlType = MControlType::kVScrollBar;
  if (const MXMLAttribute* modal = element.FindAttribute("modalvalue"))
    control.Tags.SetValue(kTagButtonModalValue, modal->value.AsInt());
  control.ReadAttributes(element);
  RegisterWithLayout(enclosing, control, element, fromLayout);
  control.OnDefinitionLoaded();
}

void CreateLayout(MControl& enclosing, MXMLItem& element, bool) {
  std::unique_ptr<MLayout> layout = CreateLayoutFor(element.GetName(), enclosing);
  layout->ReadAttributes(element);
  enclosing.AddLayout(std::move(layout));
  CreateFromDefinition(enclosing, element, true);
}

void CreateParameter(MControl& enclosing, MXMLItem& element, bool) {
  auto parameter = std::make_unique<MParameterObject>();
  parameter->kind = element.GetName();
  parameter->name = element.GetAttributeText("name");
  if (const MXMLAttribute* value = element.FindAttribute("value")) parameter->value = value->value.AsReal();
  enclosing.Parameters.push_back(std::move(parameter));
}

MString Lowered(const MString& text) {
  MString lowered;
  for (int32_t i = 0; i < text.Length(); ++i) {
    MChar c = text[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<MChar>(c + 32);
    lowered.Append(c);
  }
  return lowered;
}

// The table, built once on first use: 32 buckets by the name's hash.
struct FactoryTable {
  std::array<std::vector<std::pair<MString, MControlFactory>>, 32> buckets;
  int32_t count = 0;

  void Add(const char* name, MControlFactory factory) {
    MString key(name);
    buckets[key.Hash() % 32].emplace_back(key, factory);
    ++count;
  }
  FactoryTable() {
    for (const ControlKind& kind : kControlKinds) Add(kind.element, CreateControl);
    for (const char* name : kLayoutElements) Add(name, CreateLayout);
    for (const char* name : kParameterElements) Add(name, CreateParameter);
  }
};

const FactoryTable& Table() {
  static const FactoryTable table;
  return table;
}

constexpr const char* kPlacementWords[11] = {
    "center,center", "left,center", "right,center", "yyy", "center,top", "left,top",
    "right,top",     "xxx",         "center,bottom", "left,bottom", "right,bottom"};

}  // namespace

uint8_t PlacementFromWord(const MString& word) {
  const int index = WordIndex(kPlacementWords, 11, word.ToUTF8String().c_str(), 0);
  return static_cast<uint8_t>(index);
}

MControlFactory FindFactory(const MString& name) {
  const MString key = Lowered(name);
  for (const auto& [entry, factory] : Table().buckets[key.Hash() % 32]) {
    if (entry == key) return factory;
  }
  return nullptr;
}

int32_t FactoryCount() { return Table().count; }

void CreateFromDefinition(MControl& control, MXMLItem& node, bool fromLayout) {
  if (definitionDepth >= kMaxDefinitionDepth)
    throw MException(MString("Definition tree is nested too deeply."));
  ++definitionDepth;
  try {
    for (MXMLItem* element = node.firstSubItem; element; element = element->next) {
      if (MControlFactory factory = FindFactory(element->GetName())) factory(control, *element, fromLayout);
    }
  } catch (...) {
    --definitionDepth;
    throw;
  }
  --definitionDepth;
}

void BuildWindowFromDefinition(MControl& window, MXMLItem& root) {
  const bool enabled = window.Has(MControlFlag::kLayoutEnabled);
  window.Set(MControlFlag::kLayoutEnabled, false);
  try {
    window.ReadAttributes(root);
  } catch (...) {
    window.Set(MControlFlag::kLayoutEnabled, enabled);
    throw;
  }
  window.Set(MControlFlag::kLayoutEnabled, enabled);
  window.Layout();
}

}  // namespace kx
