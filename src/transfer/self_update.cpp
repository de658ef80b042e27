#include "transfer/self_update.h"

#include "catalogue/self_update_list.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/core/run_state.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "transfer/download_file.h"
#include "transfer/server_host.h"

namespace kx {
namespace {

constexpr const char* kProductName = "Kestrix";

void Tell(const MString& text) {
  MLog::Line(text);
  if (!SilentMode) ShowError(nullptr, text);
}

// The list from the server (or as given when offline) and its entry; false,
// having told why, when there is none to go by.
bool ReadList(const TransferEndpoints& endpoints, MXMLItem& list, SelfUpdateEntry& entry) {
  MString error;
  if (!OfflineMode) {
    error = FetchSelfUpdateList(endpoints, list);
  } else if (list.subItemCount == 0) {
    return false;  // no local list: nothing to compare with
  }
  if (error.IsEmpty()) {
    try {
      entry = FindSelfUpdateEntry(list);
      return true;
    } catch (const MException& failure) {
      error = failure.message;
    }
  }
  Tell(MString(
           "Could not download Kestrix version list - KESTRIXDATABASE.xml.\nPlease check your "
           "internet connection.\n\n") +
       error);
  return false;
}

}  // namespace

SelfUpdateResult CheckSelfUpdate(const TransferEndpoints& endpoints, MXMLItem& list,
                                 const SelfUpdateRequest& request) {
  SelfUpdateResult result;
  SelfUpdateEntry entry;
  if (!ReadList(endpoints, list, entry)) return result;
  result.availableVersion = entry.version;
  result.upToDate = entry.version.EqualsNoCase(request.installedVersion);
  MLog::Line(MFormat("\nKestrix update check, is this version up to date? : {0}")
                 .Add(result.upToDate ? 1 : 0));
  MLog::Line(MString("\nKestrix currently installed version: ") + request.installedVersion +
             MString(" Kestrix newest available version: ") + entry.version);
  if (result.upToDate) return result;

  if (!request.autoUpdate &&
      ShowQuestion(nullptr, MFormat("A new version {0} of {1} is available.Would you like to "
                                    "update now ? ")
                                .Add(entry.version)
                                .Add(kProductName)) != 1) {
    result.upToDate = true;
    return result;
  }
  if (request.status) request.status(MString("Performing Kestrix self update..."));
  result.setupPath = JoinPath(request.downloadFolder, entry.setupName);
  if (MFile::IsFile(result.setupPath)) {
    MLog::Line(MFormat("\nSetup: {0} for self update already exists! User probably downloaded "
                       "the latest setup manually before and did not run it yet.")
                   .Add(entry.setupName));
    // A setup the user saved by hand may lack the execute bit.
    MFile::MakeExecutable(result.setupPath);
  } else {
    const MString text = MString("A new version ") + entry.version + MString(" of ") +
                         MString(kProductName) + MString(" is available. Updating now...");
    MLog::Line(text);
    if (request.status) request.status(text);
    MFile::CreatePath(request.downloadFolder);
    const MString error = FetchSetup(endpoints, entry.setupName, result.setupPath);
    if (!error.IsEmpty()) {
      MLog::Line(MString("Download error: ") + error + MString(" \nsetup file: ") + entry.setupName);
      return result;
    }
    MLog::Line(MString("Kestrix  installer sucesfully copied to: ") + result.setupPath);
  }
  return result;
}

MString FetchSelfUpdateList(const TransferEndpoints& endpoints, MXMLItem& list) {
  MString error;
  MMemoryStream memory;
  DownloadFile(endpoints, error, "/download/KESTRIXDATABASE.xml", memory, true);
  if (!error.IsEmpty()) return error;
  try {
    memory.Seek(0, kSeekBegin);
    list.Clear();
    list.LoadXML(memory);
  } catch (const MException& failure) {
    return failure.message;
  }
  return MString();
}

MString FetchSetup(const TransferEndpoints& endpoints, const MString& setupName, const MString& path) {
  MString error;
  MMemoryStream memory;
  DownloadFile(endpoints, error, MString("/download/kestrix/") + setupName, memory, true);
  if (!error.IsEmpty()) return error;
  MFile::WriteAll(path, memory.Data(), memory.Size());
  MFile::MakeExecutable(path);
  return MString();
}

}  // namespace kx
