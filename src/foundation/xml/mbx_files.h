// Loading a tree in any of its forms, and saving trees and files safely.
//
// The forms: plain MBX, compressed MBX (a whole MBX stream as one zlib stream),
// text XML, and a first line "$" + base64 of a whole file in any of these forms.
// MXMLItem::LoadAny tries them in that order from the stream's position and
// swallows the failure when none fits, leaving the tree as the last attempt left
// it; TryLoadAny does the same and tells whether, and why not.
//
// MXMLItem::SaveFile serialises the whole tree into memory first, then writes a
// new file beside the old one ("<path>.saving") and renames it over the old:
// neither a failing serialisation nor a failing write (a full disk) loses the old
// file, and readers see either the old or the new content. The new file is a new
// file: it has the process's default permissions, and a symbolic link at `path`
// is replaced by the file rather than followed.
//
// DisableMBX (set from the shared settings at start-up, before other threads
// run) turns the MBX saves into text XML: SaveMBX writes SaveXML with its
// `compress`, and SaveFile the same, still through memory.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MStream;
class MXMLItem;

extern bool DisableMBX;

// LoadAny that answers: true when a form loaded; false (and, when `failure` is
// given, the message of the attempt that fits the data best: the MBX reader's
// for data beginning with the MBX magic, else the text parser's) when none did.
// A "$" line that is not base64, or that ends the stream, throws as usual.
bool TryLoadAny(MXMLItem& tree, MStream& stream, MString* failure = nullptr);

// Replaces the file at `path` with these bytes by writing "<path>.saving" and
// renaming it over `path`; on a failure the old file stays and the new one is
// removed. Throws the file stream's messages, or "Could not rename file \"{0}\"
// to \"{1}\". <system text>".
void ReplaceFileContent(const MString& path, const void* data, int64_t size);

}  // namespace kx
