// File names as text: the last component, the folder, the extension, and
// names derived from a path by adding to the left or the right of the file
// name. Both "/" and "\" separate folders, so host paths of either platform
// work; nothing here touches the file system.
//
// Folder texts keep their final separator ("data/run1/"), so that a folder
// and a file name join by plain concatenation. The extension is the part of
// the file name from its last ".", unless that point starts the name
// (".profile" has no extension).
#include <string>
#include <string_view>

#include "common/boundary.h"
#include "libquorvex.h"

namespace {

std::string_view View(const char *text) { return text ? std::string_view(text) : std::string_view(); }

char *Owned(std::string_view s) { return qvx::DupText(s.data(), s.size()); }

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// Length of the folder part: up to and including the last separator.
std::size_t FolderLength(std::string_view path) {
  std::size_t i = path.size();
  while (i > 0 && !IsSeparator(path[i - 1])) --i;
  return i;
}

// Position of the extension's point within the path, or the path's length.
std::size_t ExtensionStart(std::string_view path) {
  const std::size_t folder = FolderLength(path);
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos || dot <= folder) return path.size();
  return dot;
}

std::string AddRight(std::string_view path, std::string_view suffix) {
  const std::size_t at = ExtensionStart(path);
  std::string s(path.substr(0, at));
  s += suffix;
  s += path.substr(at);
  return s;
}

}  // namespace

extern "C" {

// The last component: "a/b/c.txt" gives "c.txt"; a path ending in a
// separator gives the empty text.
QVX_API char *Filename(const char *path) noexcept {
  std::string_view p = View(path);
  return Owned(p.substr(FolderLength(p)));
}

// The path with its extension replaced; `extension` may come with or
// without its point, and an empty one removes the extension.
QVX_API char *ChangeExtension(const char *path, const char *extension) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string_view p = View(path), e = View(extension);
    std::string s(p.substr(0, ExtensionStart(p)));
    if (!e.empty()) {
      if (e[0] != '.') s += '.';
      s += e;
    }
    return Owned(s);
  });
}

// suffix inserted after the file name, before its extension:
// ("out/m.txt", "_REAL") gives "out/m_REAL.txt".
QVX_API char *ConcatFilenameR(const char *path, const char *suffix) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] { return Owned(AddRight(View(path), View(suffix))); });
}

// prefix inserted before the file name: ("out/m.txt", "old_") gives
// "out/old_m.txt".
QVX_API char *ConcatFilenameL(const char *path, const char *prefix) noexcept {
  return qvx::Guard(static_cast<char *>(nullptr), [&] {
    std::string_view p = View(path);
    const std::size_t at = FolderLength(p);
    std::string s(p.substr(0, at));
    s += View(prefix);
    s += p.substr(at);
    return Owned(s);
  });
}

// ConcatFilenameR on an owned path, rewritten in place of the old one.
QVX_API char *AppendFilenameR(char **path, const char *suffix) noexcept {
  if (!path) return nullptr;
  char *fresh = ConcatFilenameR(*path, suffix);
  if (!fresh) return *path;
  qvx::WipeAndFree(*path);
  *path = fresh;
  return fresh;
}

// The folder of a path, with its final separator; "" for a bare name.
QVX_API char *GetDirectory(const char *path) noexcept {
  std::string_view p = View(path);
  return Owned(p.substr(0, FolderLength(p)));
}

// The folder that contains the last component, whether that is a file or a
// folder written with a final separator: "a/b/c.txt" and "a/b/c/" both give
// "a/b/". The root "/" is its own parent; a bare name gives "".
QVX_API char *ParentFolder(const char *path) noexcept {
  std::string_view p = View(path);
  if (p.size() > 1 && IsSeparator(p.back())) p.remove_suffix(1);
  if (p.size() == 1 && IsSeparator(p[0])) return Owned(p);
  return Owned(p.substr(0, FolderLength(p)));
}

}  // extern "C"
