// Offline the list is the one given and a setup already downloaded is taken
// without any fetch (no server answers here).
#include "transfer/self_update.h"

#include <gtest/gtest.h>

#include "foundation/core/run_state.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "support/file_test_support.h"
#include "transfer/server_host.h"

namespace kx {
namespace {

class SelfUpdateCheckTest : public FileTestBase {
 protected:
  void SetUp() override { OfflineMode = SilentMode = true; }
  void TearDown() override { OfflineMode = SilentMode = false; }
};

TEST_F(SelfUpdateCheckTest, OfflineTakesTheListAsGiven) {
  TransferEndpoints endpoints;
  endpoints.MainServer = MString("127.0.0.1:9");
  SelfUpdateRequest request;
  request.installedVersion = MString("1.0");
  request.downloadFolder = Path("setups");
  MXMLItem list;
  EXPECT_TRUE(CheckSelfUpdate(endpoints, list, request).upToDate);

  const char text[] =
      "<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_LINUX\">"
      "<kestrix version=\"2.0\" setupname=\"s.run\"/></item></kestrix_installers></SelfUpdateList>";
  MConstMemoryStream bytes(text, sizeof text - 1);
  list.LoadXML(bytes);
  WriteFile("setups/s.run", "#!/bin/sh\n");
  SelfUpdateResult result = CheckSelfUpdate(endpoints, list, request);
  EXPECT_FALSE(result.upToDate);
  EXPECT_EQ(ToStd(result.availableVersion), "2.0");
  EXPECT_EQ(ToStd(result.setupPath), ToStd(Path("setups/s.run")));
}

}  // namespace
}  // namespace kx
