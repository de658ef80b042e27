// The machine's architecture level, loading packages with the architecture selection
// at every machine index, and the definition attributes the load reads.
#include "catalogue/kernel_selection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/architecture.h"
#include "catalogue/definition_schema.h"
#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "catalogue_fixture.h"
#include "foundation/core/module.h"
#include "foundation/core/run_state.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

using testing::CountOf;
using testing::HasLinesInOrder;
using testing::Text;

const std::string kNoMatch =
    "The installer couldn't find executables for the architecture of this machine. ";
const std::string kSeveral =
    "Internal installer error - more than one executable matches architecture of this machine. ";

struct Element {
  std::string path, name;
  const char *archMin, *archMax;  // null: no attribute
  bool mac;
  // `archenabled` after the load at machine indices 0..8: '1', '0', '-' (none).
  const char* enabled;
};

struct SelectionCase {
  const char* label;
  std::vector<Element> elements;
  const char* counts;  // the match count for machine indices 0..8
};

MXMLItem& AddElement(MXMLItem& definition, const Element& e) {
  MXMLItem& files = testing::AddFiles(definition, {e.path, e.name, "global", -1, e.mac});
  // Set here rather than by the fixture, which leaves empty texts out.
  if (e.archMin) files.SetAttribute("archmin", e.archMin);
  if (e.archMax) files.SetAttribute("archmax", e.archMax);
  return files;
}

const SelectionCase kSelections[] = {
    {"the two shipped kernels",
     {{"Kernel/sse", "Kernel", nullptr, "avx2", false, "111111100"},
      {"Kernel/avx2", "Kernel", "avx2", nullptr, false, "000000011"},
      {"Data/Global", "Global data", nullptr, nullptr, false, "---------"},
      {"BINEffects/binx64", "Effects", nullptr, nullptr, false, "---------"}},
     "111111111"},
    {"archmin only: machines below AVX have none",
     {{"Kernel/avx", "Kernel", "AVX", nullptr, false, "000000111"}},
     "000000111"},
    {"unknown names: index 0 matches all below, and nothing lies below 0",
     {{"Kernel/any", "Kernel", "neon", nullptr, false, "111111111"},
      {"Kernel/none", "Kernel", nullptr, "altivec", false, "000000000"},
      {"Kernel/empty", "Kernel", "", "", false, "000000000"}},
     "111111111"},
    {"both bounds",
     {{"Kernel/sse4", "Kernel", "sse41", "avx", false, "000011000"},
      {"Kernel/old", "Kernel", nullptr, "sse41", false, "111100000"},
      {"Kernel/new", "Kernel", "avx", nullptr, false, "000000111"}},
     "111111111"},
    {"no architecture attributes at all",
     {{"Kernel/one", "Kernel", nullptr, nullptr, false, "---------"},
      {"BINEffects/binx64", "Effects", nullptr, nullptr, false, "---------"}},
     "000000000"},
    {"two matches: the fallback picks the build below AVX2",
     {{"Kernel/sse", "Kernel", nullptr, "AVX2", false, "111111111"},
      {"Kernel/avx2", "Kernel", "avx2", nullptr, false, "000000000"},
      {"Kernel/sse2", "Kernel", "sse2", nullptr, false, "011111111"},
      // Not a kernel by name: the fallback leaves it as the walk set it.
      {"Extras/avx2", "Extras", "avx2", nullptr, false, "000000011"}},
     "122222233"},
    {"the other platform's build never matches",
     {{"Kernel/sse", "Kernel", nullptr, "avx2", false, "111111111"},
      {"KernelMac/avx2", "Kernel", "avx2", nullptr, true, "000000000"},
      // Nor does the fallback turn it on.
      {"KernelMac/sse", "Kernel", nullptr, "avx2", true, "000000000"},
      // mac is not looked at without an architecture attribute.
      {"BINEffectsMac/bin", "Effects", nullptr, nullptr, true, "---------"}},
     "111111100"},
};

TEST(KernelSelectionTest, EveryDefinitionAtEveryMachineIndex) {
  for (const SelectionCase& c : kSelections) {
    for (int index = 0; index <= kMaxArchitectureIndex; ++index) {
      SCOPED_TRACE(c.label + std::string(", machine index ") + std::to_string(index));
      testing::MLogCapture log;
      MScriptedBoxHost boxes;
      ScopedArchitectureIndex machine(index);
      testing::CatalogueTrees trees;
      std::vector<MXMLItem*> elements;
      for (const Element& e : c.elements) elements.push_back(&AddElement(trees.definition, e));
      // A definition also carries panels, which the walk passes over.
      trees.definition.AddSubItem("category").SetAttribute("name", "Effects");

      PackageList packages;
      int32_t count =
          LoadPackages(nullptr, trees.definition, trees.database, trees.packageSettings, packages);
      EXPECT_EQ(count, c.counts[index] - '0');

      ASSERT_EQ(packages.Count(), static_cast<int32_t>(c.elements.size()));
      for (size_t i = 0; i < c.elements.size(); ++i) {
        const Element& e = c.elements[i];
        EXPECT_EQ(packages[static_cast<int32_t>(i)]->GetDefinitionNode(), elements[i]);
        MXMLAttribute* enabled = elements[i]->FindAttribute("archenabled");
        char got = enabled ? (enabled->value.AsInt() ? '1' : '0') : '-';
        EXPECT_EQ(got, e.enabled[index]) << e.path;
      }

      std::string text = log.Text();
      EXPECT_TRUE(HasLinesInOrder(text, {"\nDetected architecture index: " + std::to_string(index),
                                         ToStd(InstructionSetReport())}));
      // One "Using kernel type" line, after a blank one, per match.
      EXPECT_EQ(CountOf(text, "\r\n\r\nUsing kernel type: arch"), count);

      if (count == 1) {
        EXPECT_TRUE(boxes.Calls().empty());
        EXPECT_EQ(CountOf(text, "Please contact our support"), 0);
      } else {
        const std::string& opening = count < 1 ? kNoMatch : kSeveral;
        std::string message = opening +
                              "Trying to use most suitable executables for this machine. Please "
                              "contact our support via " +
                              kSupportAddress +
                              " and send us information about this computer with this screenshot."
                              "<p>System information:" +
                              ToStd(InstructionSetReport());
        ASSERT_EQ(boxes.Calls().size(), 1u);
        EXPECT_EQ(boxes.Calls()[0].kind + ": " + ToStd(boxes.Calls()[0].text),
                  "ShowError: " + message);
        EXPECT_TRUE(HasLinesInOrder(text, {message}));
      }
    }
  }
  ResetRunFlags();
}

TEST(KernelSelectionLabelTest, FixedLabelByWhetherArchmaxIsEmpty) {
  const struct {
    const char *archMin, *archMax;
    int machine;
    const char* label;  // null: no match, no line
  } cases[] = {
      {nullptr, "avx2", 0, "archmax=avx2"},  {"avx2", nullptr, 7, "archmin=avx2"},
      {"sse2", "avx512", 3, "archmax=avx2"},  // the label does not echo the values
      {"avx", nullptr, 8, "archmin=avx2"},   {"avx", "", 6, "archmin=avx2"},
      {"", "sse3", 1, "archmax=avx2"},       {nullptr, "avx2", 7, nullptr},
  };
  for (const auto& c : cases) {
    testing::MLogCapture log;
    ScopedArchitectureIndex machine(c.machine);
    MXMLItem definition("InstallerDefinition");
    MXMLItem& files =
        AddElement(definition, {"Kernel/x", "Kernel", c.archMin, c.archMax, false, ""});
    int32_t counter = 5;
    EvaluateArchitecture(files, counter);
    std::string text = log.Text();
    EXPECT_EQ(counter, c.label ? 6 : 5);
    EXPECT_EQ(text, c.label ? std::string("\r\nUsing kernel type: ") + c.label + "\r\n" : "");
  }
}

TEST(KernelSelectionSilentTest, MessageAtEachStartOnlyInTheLog) {
  ScopedArchitectureIndex machine(7);
  SilentMode = true;
  MScriptedBoxHost boxes;
  testing::MLogCapture log;
  testing::CatalogueTrees trees;
  AddElement(trees.definition, {"Kernel/one", "Kernel", nullptr, nullptr, false, ""});
  PackageList packages;
  // A second load (offline data) replaces the list and tells again.
  for (int start = 0; start < 2; ++start)
    LoadPackages(nullptr, trees.definition, trees.database, trees.packageSettings, packages);
  EXPECT_EQ(packages.Count(), 1);
  EXPECT_TRUE(boxes.Calls().empty());
  EXPECT_EQ(CountOf(log.Text(), kNoMatch), 2);
  ResetRunFlags();
}

TEST(KernelSelectionLoadTest, MissingPathEndsTheLoadBeforeItsArchitecture) {
  ScopedArchitectureIndex machine(7);
  testing::CatalogueTrees trees;
  AddElement(trees.definition, {"Kernel/avx2", "Kernel", "avx2", nullptr, false, ""});
  MXMLItem& broken = trees.definition.AddSubItem("files");
  broken.SetAttribute("archmin", "avx2");
  PackageList packages;
  EXPECT_EQ(MessageOf([&] {
              LoadPackages(nullptr, trees.definition, trees.database, trees.packageSettings,
                           packages);
            }),
            "Could not find required attribute (path).");
  EXPECT_EQ(broken.FindAttribute("archenabled"), nullptr);
  // What was built before the broken element stays in the list, which owns it.
  ASSERT_EQ(packages.Count(), 1);
  EXPECT_EQ(ToStd(packages[0]->Key), "Kernel_avx2");
}

// The definition's required and defaulted attributes (a whole file is read by the
// integration runs).
TEST(DefinitionSchemaTest, RequiredAttributeMissingIsNamed) {
  const struct {
    const char *element, *attributes, *missing;  // attributes: all required ones but `missing`
  } cases[] = {
      {"directory", "default=x;defaultprefix=y", "id"},
      {"directory", "id=a;defaultprefix=y", "default"},
      {"Directory", "id=a;default=x", "defaultprefix"},
      {"files", "name=Kernel;flags=global", "path"},
      {"category", "name=Effects", "columns"},
      {"category", "columns=4", "name"},
      {"category", "name=Effects;columns=4", "name"},  // its item
  };
  for (const auto& c : cases) {
    MXMLItem root("InstallerDefinition");
    MXMLItem& element = root.AddSubItem(c.element);
    MArray<MString> pairs;
    MString(c.attributes).Split(';', pairs);
    for (const MString& pair : pairs) {
      int32_t at = pair.FindChar('=');
      if (at > 0) element.SetAttribute(pair.Left(at), MVariant(pair.Mid(at + 1)));
    }
    if (std::string(c.element) == "category") element.AddSubItem("item");  // an item without name
    EXPECT_EQ(MessageOf([&] { ReadInstallerDefinition(root); }),
              std::string("Could not find required attribute (") + c.missing + ").");
  }
}

// Presence keys count whatever their value; booleans are integers.
TEST(DefinitionSchemaTest, DefaultsAndPresence) {
  MXMLItem root;
  std::string xml = R"(<InstallerDefinition>
    <category name="instruments" columns="3"><item name="Tonvault"/></category>
    <category name="Effects" columns="6" hidden="0">
      <item name="MComp" namevisual="Compressor" customgui="0" all="2" minversion="16.10"> MCompA ;MCompB; </item>
    </category>
    <category name="Empty" columns="1"/>
    <files path="Kernel/avx2" archmin="" archenabled="0"/>
    <directory id="" default="" defaultprefix="" windows="0"/>
    <comment text="unknown elements are passed over"/>
  </InstallerDefinition>)";
  testing::Parse(root, xml);

  InstallerDefinitionContents contents = ReadInstallerDefinition(root);
  ASSERT_EQ(contents.categories.Count(), 3);
  const PluginDefinition& plain = contents.categories[0].items[0];
  EXPECT_FALSE(contents.categories[0].hidden || plain.hasNameVisual || plain.customGui ||
               plain.all);
  EXPECT_EQ(ToStd(plain.minVersion), "15.00");
  const PluginDefinition& set = contents.categories[1].items[0];
  EXPECT_TRUE(contents.categories[1].hidden && set.hasNameVisual && set.customGui && set.all);
  EXPECT_EQ(ToStd(set.minVersion), "16.10");
  EXPECT_EQ(contents.categories[2].items.Count(), 0);  // an empty panel

  const FilesDefinition& kernel = contents.files[0];
  EXPECT_TRUE(kernel.hasArchMin && kernel.archMin.IsEmpty() && !kernel.hasArchMax);
  EXPECT_TRUE(kernel.hasArchEnabled && !kernel.archEnabled && !kernel.mac);
  ASSERT_EQ(contents.directories.Count(), 1);
  EXPECT_TRUE(!contents.directories[0].windows && contents.directories[0].available);

  MXMLItem pluginSettings("KestrixPluginsSettings");
  std::unique_ptr<Plugin> tonvault(
      Plugin::Create(nullptr, contents.categories[0], *plain.node, pluginSettings));
  std::unique_ptr<Plugin> comp(
      Plugin::Create(nullptr, contents.categories[1], *set.node, pluginSettings));
  // The category name folds case; contents are the fields with blanks, empty ones too.
  EXPECT_TRUE(tonvault->IsInstrument && !comp->IsInstrument);
  EXPECT_TRUE(tonvault->Contents.IsEmpty());
  std::string fields;
  for (const MString& field : comp->Contents) fields += "[" + ToStd(field) + "]";
  EXPECT_EQ(fields, "[MCompA ][MCompB][]");  // the parser trims the text's ends
}

// Processor level from the raw CPUID answers, and names to indices.
constexpr uint32_t kBase = 0x3808001;  // FPU, CMOV, MMX, FXSR, SSE
constexpr uint32_t kSse2 = 1u << 26;
constexpr uint32_t kSse3 = 1u << 0;
constexpr uint32_t kSsse3 = 1u << 9;
constexpr uint32_t kSse41 = 1u << 19;
constexpr uint32_t kSse42Popcnt = (1u << 20) | (1u << 23);
constexpr uint32_t kOsxsaveAvx = (1u << 27) | (1u << 28);
constexpr uint64_t kXcr0Avx = 0x7;       // x87, SSE, AVX state
constexpr uint32_t kAvx2 = 1u << 5;      // leaf 7 EBX
constexpr uint32_t kAvx512State = 0x60;  // leaf 13 EAX bits 5 and 6

// A machine that has everything up to and including `level`.
ProcessorAnswers MachineOfLevel(int level) {
  ProcessorAnswers a;
  a.hasLeaf1 = level >= 1;
  if (level >= 1) a.leaf1Edx |= kBase;
  if (level >= 2) a.leaf1Edx |= kSse2;
  if (level >= 3) a.leaf1Ecx |= kSse3;
  if (level >= 4) a.leaf1Ecx |= kSsse3;
  if (level >= 5) a.leaf1Ecx |= kSse41;
  if (level >= 6) a.leaf1Ecx |= kSse42Popcnt;
  if (level >= 7) {
    a.leaf1Ecx |= kOsxsaveAvx;
    a.xcr0 = kXcr0Avx;
  }
  if (level >= 8) a.leaf7Ebx |= kAvx2;
  if (level >= 9) a.leaf13Eax |= kAvx512State;
  return a;
}

TEST(ProcessorLevelTest, EachLevelAndIndex) {
  const int32_t indices[] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8};
  for (int level = 0; level <= 9; ++level) {
    EXPECT_EQ(ProcessorLevelOf(MachineOfLevel(level)), level);
    EXPECT_EQ(ArchitectureIndexOfLevel(level), indices[level]) << level;
  }
  EXPECT_EQ(ArchitectureIndexOfLevel(-1), 0);
  EXPECT_EQ(ArchitectureIndexOfLevel(12), 8);
}

struct GapCase {
  const char* label;
  int from;  // a machine of this level ...
  void (*change)(ProcessorAnswers&);
  int level;  // ... changed so, reaches this one
};

const GapCase kGaps[] = {
    // The first failure ends the tests: later bits do not lift the level.
    {"no leaf 1, bits anyway", 9, [](ProcessorAnswers& a) { a.hasLeaf1 = false; }, 0},
    {"no CMOV", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~(1u << 15); }, 0},
    {"no FPU", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~1u; }, 0},
    {"no SSE2", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~kSse2; }, 1},
    {"no SSSE3", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~kSsse3; }, 3},
    {"SSE4.2 without POPCNT", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 23); }, 5},
    {"AVX bit, system saves no AVX state", 9, [](ProcessorAnswers& a) { a.xcr0 = 0x3; }, 6},
    {"AVX without OSXSAVE", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 27); }, 6},
    {"OSXSAVE without AVX", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 28); }, 6},
    {"AVX-512 state without AVX2", 9, [](ProcessorAnswers& a) { a.leaf7Ebx = 0; }, 7},
    {"AVX-512 state bit 5 only", 9, [](ProcessorAnswers& a) { a.leaf13Eax = 0x20; }, 8},
    {"AVX-512 state bit 6 only", 9, [](ProcessorAnswers& a) { a.leaf13Eax = 0x40; }, 8},
    {"AVX2 on a machine without SSE4.1", 4, [](ProcessorAnswers& a) { a.leaf7Ebx = kAvx2; }, 4},
};

TEST(ProcessorLevelTest, FirstFailureEndsTheTests) {
  for (const GapCase& c : kGaps) {
    ProcessorAnswers answers = MachineOfLevel(c.from);
    c.change(answers);
    EXPECT_EQ(ProcessorLevelOf(answers), c.level) << c.label;
  }
}

TEST(ArchitectureNameTest, NamesFoldCaseAndUnknownIsZero) {
  const struct {
    const char* name;
    int32_t index;
  } names[] = {{"sse2", 1},  {"SSE3", 2},    {"ssse3", 3},  {"Sse41", 4}, {"sse42", 5},
               {"avx", 6},   {"avx2", 7},    {"AVX512", 8}, {"", 0},      {"sse4.1", 0},
               {"avx2 ", 0}, {"avx-512", 0}, {"neon", 0},   {"SSE", 0}};
  for (const auto& n : names) EXPECT_EQ(ArchitectureIndexOfName(n.name), n.index) << n.name;
}

TEST(ArchitectureMachineTest, CachedLevelAgreesWithTheInstructionSets) {
  int32_t level = ProcessorLevel();
  EXPECT_EQ(ProcessorLevelOf(ReadProcessorAnswers()), level);
  EXPECT_EQ(DetectArchitectureIndex(), ArchitectureIndexOfLevel(level));
  {
    // A test's machine index holds for its scope and nests; below 0 is 0.
    ScopedArchitectureIndex outer(-4);
    {
      ScopedArchitectureIndex inner(5);
      EXPECT_EQ(DetectArchitectureIndex(), 5);
    }
    EXPECT_EQ(DetectArchitectureIndex(), 0);
  }
  EXPECT_EQ(DetectArchitectureIndex(), ArchitectureIndexOfLevel(level));
  // The level implies each set below it; the sets of the About view are read separately.
  const MInstructionSets& sets = InstructionSets();
  const bool byLevel[] = {sets.sse2, sets.sse3, sets.sse41, sets.avx, sets.avx2};
  const int32_t levelOf[] = {2, 3, 5, 7, 8};
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(byLevel[i] || level < levelOf[i]) << level << " " << i;
}

}  // namespace
}  // namespace kx
