#include "foundation/files/path_text.h"

#include "foundation/text/codecs.h"

namespace kx {
namespace {

bool IsRootOnly(const MString& path) {
  return path.Length() == 1 && (path[0] == '/' || path[0] == '\\');
}

// relative[start..] is "../..." or exactly "..": the number of units it covers
// (3 or 2), else 0.
int32_t ParentStepAt(const MString& relative, int32_t start) {
  int32_t rest = relative.Length() - start;
  if (rest < 2 || relative[start] != '.' || relative[start + 1] != '.') return 0;
  if (rest == 2) return 2;
  return relative[start + 2] == '/' ? 3 : 0;
}

// `base` ends with "/"; its last segment before that "/" is "..".
bool EndsInParentSegment(const MString& base) {
  int32_t end = base.Length() - 1;  // the trailing "/"
  if (end < 2 || base[end - 1] != '.' || base[end - 2] != '.') return false;
  return end == 2 || base[end - 3] == '/';
}

// Position of the "/" that begins the last component, or -1.
int32_t LastSeparator(const MString& path) { return path.FindLastChar('/'); }

}  // namespace

MString JoinPath(const MString& base, const MString& relative) {
  if (base.IsEmpty() || IsRootOnly(base)) return relative;
  if (relative.IsEmpty() || IsRootOnly(relative)) return base;

  MString result = base;
  if (result[result.Length() - 1] != '/') result.Append(MChar('/'));
  int32_t start = relative[0] == '/' ? 1 : 0;

  // Each leading "../" eats one segment of the base. A base that is used up, or
  // that is itself made of ".." steps, cannot be shortened any further: the
  // remaining steps then stay in the text and the system resolves them.
  for (int32_t step = ParentStepAt(relative, start); step > 0; step = ParentStepAt(relative, start)) {
    if (result.Length() < 2 || EndsInParentSegment(result)) break;
    int32_t cut = -1;
    for (int32_t i = result.Length() - 2; i >= 0; --i)
      if (result[i] == '/') {
        cut = i;
        break;
      }
    if (cut < 0)
      result.Clear();
    else
      result = result.Left(cut + 1);
    start += step;
  }
  result.Append(relative.Mid(start));
  return result;
}

MString GetDirectory(const MString& path) {
  int32_t separator = LastSeparator(path);
  if (separator < 0) return MString();
  // Cutting the only "/" of "/name" would turn an absolute path into nothing.
  if (separator == 0) return MString("/");
  return path.Left(separator);
}

MString GetFileName(const MString& path) { return path.Mid(LastSeparator(path) + 1); }

MString GetExtension(const MString& path) {
  int32_t nameStart = LastSeparator(path) + 1;
  int32_t dot = path.FindLastChar('.');
  if (dot < nameStart) return MString();
  return path.Mid(dot + 1);
}

MString ChangeExtension(const MString& path, const MString& extension) {
  int32_t nameStart = LastSeparator(path) + 1;
  int32_t dot = path.FindLastChar('.');
  MString result = dot < nameStart ? path : path.Left(dot);
  if (extension.IsEmpty()) return result;
  result.Append(MChar('.'));
  // A dot given with the extension is accepted and not doubled.
  result.Append(extension[0] == '.' ? extension.Mid(1) : extension);
  return result;
}

bool IsContainedPath(const MString& path) {
  if (path.IsEmpty()) return true;
  if (path[0] == '/' || path[0] == '\\') return false;
  int32_t start = 0;
  for (int32_t i = 0; i <= path.Length(); ++i) {
    if (i < path.Length() && path[i] != '/' && path[i] != '\\') continue;
    if (i - start == 2 && path[start] == '.' && path[start + 1] == '.') return false;
    start = i + 1;
  }
  return true;
}

std::string ToSystem(const MString& path) {
  // The same UTF-8 rules as the codec, so raw bytes decoded by FromSystem come back
  // as the very bytes they were.
  return path.ToUTF8String();
}

MString FromSystem(std::string_view text) {
  MString result;
  GetUTF8Codec().Decode(text, result);
  return result;
}

}  // namespace kx
