#include "foundation/resources/resource_compiled_in.h"

#include <gtest/gtest.h>

#include "support/resource_test_support.h"

namespace kx {
namespace {

class CompiledInTest : public FileTestBase {
 protected:
  void TearDown() override {
    RegisterCompiledInBlock(nullptr, 0);
    RegisterCompiledInPairs(nullptr, 0);
    RegisterCompiledInFlatBlock(nullptr, 0);
  }
};

TEST_F(CompiledInTest, ALinkedBlockWinsOverTheFileBesideTheProgram) {
  WriteFile("bin/kestrix.mrf", SmallLibraryOf("mstyle", "from the file"));
  MString program = Path("bin/kestrix");
  std::string block = SmallLibraryOf("mstyle", "compiled in");

  MResourceLibrary library;
  EXPECT_FALSE(AttachCompiledInResources(library));
  EXPECT_TRUE(AttachResourcesBesideProgram(library, program));
  EXPECT_EQ(ReadRest(library.GetResource(MString("mstyle"))), "from the file");

  {
    MCompiledInRegistration registration(block.data(), static_cast<int64_t>(block.size()));
    MResourceLibrary compiled;
    EXPECT_FALSE(AttachResourcesBesideProgram(compiled, program));
    EXPECT_TRUE(AttachCompiledInResources(compiled));
    MConstMemoryStream& style = compiled.GetResourceMemory(MString("MStyle"));
    EXPECT_EQ(std::string(style.Data(), static_cast<size_t>(style.Size())), "compiled in");
    EXPECT_TRUE(style.Data() > block.data() && style.Data() < block.data() + block.size())
        << "read in place";
  }

  RegisterCompiledInBlock(nullptr, 0);
  MResourceLibrary none;
  WriteFile("bin/broken.mrf", "12345678901234");
  EXPECT_THROW(AttachResourcesBesideProgram(none, Path("bin/broken")), MException);
}

TEST_F(CompiledInTest, NamedPairsAndTheFlatBlock) {
  static const MCompiledInPair kPairs[] = {{"Shader.glsl", "void main(){}", 13},
                                           {"licence", "text", 4}};
  RegisterCompiledInPairs(kPairs, 2);
  MConstMemoryStream stream;
  EXPECT_TRUE(OpenCompiledInStream(MString("shader.GLSL"), stream));
  EXPECT_EQ(ReadRest(stream), "void main(){}");
  EXPECT_FALSE(OpenCompiledInStream(MString("shader"), stream));
  RegisterCompiledInFlatBlock("flat", 4);
  ASSERT_TRUE(OpenCompiledInFlatBlock(stream));
  EXPECT_EQ(ReadRest(stream), "flat");
}

}  // namespace
}  // namespace kx
