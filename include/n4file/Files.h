// Names and paths of the files in the shared sign library.
//
// Sequence, schedule and script files live in a tree whose folder names say
// which sign the content is made for:
//
//   <share dir>\<rows>x<cols>.<colour>.<pixel>.Sign\<library>.Lib\<file>.<ext>
//   <share dir>\Palette.<colour>.<pixel>.Sign\<library>.Lib\<file>.<ext>
//
// for example D:\Shows\16x80.Mono1.I.Sign\Weather.Lib\Rain.SQ4. CN4Files
// composes such paths (BuildSign, BuildPath), takes them apart (ParseSign,
// ParsePath) and converts the technologies and file kinds to and from their
// names. Paths are composed with "\", the separator the scheme is stored with;
// everything that reads a path accepts "\" and "/" alike.
//
// Choices made here for the operations the scheme leaves open:
//   - ParseSign/ParsePath return 1 and store every field, or 0 and change
//     nothing. They accept exactly what BuildSign/BuildPath write, with names
//     compared without regard to case ("palette", ".sign", ".lib", colour
//     names, pixel letters); the extension is kept as written and its kind is
//     looked up (0 when unknown). An empty colour name stands for 15 and an empty
//     pixel letter for 0, the only values BuildPath accepts without a name, so
//     every path BuildPath makes parses back to the fields it was made from
//     (given an extension without "." and names without separators).
//     A path needs a non-empty share directory, non-zero rows and columns,
//     and non-empty library, file and extension; a folder name alone
//     (ParseSign) may have zero rows or columns.
//   - GetAbbreviatedPath(max) keeps the stored path if it fits in max
//     characters; else the root, "\...\" and as many trailing parts as fit;
//     else "...\" and the trailing parts that fit; else the file name alone,
//     even when longer than max. The inserted separators follow the path's
//     own ("/" in a path written with "/").
//   - GetRelPath / GetFullPath convert between full paths and paths relative
//     to a directory, climbing with "..\". Names compare without regard to
//     case; paths on different roots stay full.
//   - FindFiles lists the library files below a share directory; IsFileValid
//     says whether a path names an existing library file of a known kind for a
//     valid technology pair.
//
// Thread safety: an object belongs to one thread at a time; the static
// operations may run anywhere.
#pragma once

#include <string>
#include <vector>

#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {

// Colour technology names by value; index 15 has no name ("").
extern N4FILE_API const char* const kColorTechNames[16];
// Pixel technology letters by value; index 0 has none ("").
extern N4FILE_API const char* const kPixelTechLetters[4];

}  // namespace n4

class N4FILE_API CN4Files {
 public:
  CN4Files();
  virtual ~CN4Files();

  // Colour technology. The text forms store their argument first.
  std::string ColorTechToString(tag_N4_SIGN_COLOR color);
  std::string ColorTechToString();
  // The value whose name matches without regard to case; 0 when none does.
  tag_N4_SIGN_COLOR StringToColorTech(std::string text);
  // 0 to 15 as given (15 has no name); anything else 0.
  tag_N4_SIGN_COLOR IntToColorTech(int value);

  // Pixel technology; values other than 1 to 3 are written as "".
  std::string PixelTechToString(tag_N4_PIXEL_TECH pixel);
  std::string PixelTechToString();
  // "R" gives 2, "L" 3 (any case); every other text 1.
  tag_N4_PIXEL_TECH StringToPixelTech(std::string text);
  // 1 to 3 as given; anything else 1.
  tag_N4_PIXEL_TECH IntToPixelTech(int value);

  // File kind ("seq4", "schd", "scpt", "seq3") and extension ("SQ4", "SD4",
  // "SC4", "SEQ", compared with regard to case). Unknown kinds and extensions
  // store an empty extension and kind 0.
  std::string FourccToExtension(DWORD fccType);
  std::string FourccToExtension();
  DWORD ExtensionToFourcc(const std::string& extension);
  DWORD ExtensionToFourcc();

  // Whether a sign can have this colour with this pixel technology.
  static int IsColorAndPixelTechValid(tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH pixel);
  int IsColorAndPixelTechValid();

  // The sign folder name without ".Sign": "%lux%lu.%s.%s", or with `palette`
  // set "Palette.%s.%s" (rows and columns then stored as 16).
  std::string BuildSign(DWORD rows, DWORD cols, tag_N4_SIGN_COLOR color, tag_N4_PIXEL_TECH pixel,
                        int palette);
  std::string BuildSign();
  // The full path, or "" when a part is missing or out of range (then only
  // the extension is stored). The stored palette flag chooses the folder form.
  std::string BuildPath(const std::string& shareDir, DWORD rows, DWORD cols, tag_N4_SIGN_COLOR color,
                        tag_N4_PIXEL_TECH pixel, const std::string& library,
                        const std::string& file, const std::string& extension);
  std::string BuildPath(const std::string& shareDir, DWORD rows, DWORD cols, tag_N4_SIGN_COLOR color,
                        tag_N4_PIXEL_TECH pixel, const std::string& library,
                        const std::string& file, DWORD fccType);

  // Reverse of BuildSign (an optional ".Sign" suffix allowed) and BuildPath.
  int ParseSign(const std::string& sign);
  int ParsePath(const std::string& path);

  // The stored path shortened to `maxLength` characters (see above).
  std::string GetAbbreviatedPath(int maxLength) const;
  // The stored path relative to `baseDir`.
  std::string GetRelPath(const std::string& baseDir) const;
  // `path` relative to `baseDir`; unchanged when they have different roots.
  static std::string GetRelPath(const std::string& path, const std::string& baseDir);
  // `relPath` resolved against `baseDir`, with "." and ".." removed; an
  // absolute relPath is only tidied. ".." never climbs above the root.
  static std::string GetFullPath(const std::string& relPath, const std::string& baseDir);

  // Appends to `paths` the path of every valid library file (IsFileValid)
  // below `shareDir` of kind `fccType` (0: any known kind), sorted; returns how
  // many were appended, or -1 when `shareDir` cannot be listed.
  int FindFiles(std::vector<std::string>& paths, std::string shareDir, int fccType);
  // 1 when `path` parses as a library path with a known kind and a valid
  // technology pair, and the file exists.
  static int IsFileValid(const std::string& path);
  int IsFileValid() const;

  const std::string& GetPath() const { return m_strPath; }
  const std::string& GetShareDir() const { return m_strShareDir; }
  DWORD GetRows() const { return m_dwRows; }
  DWORD GetCols() const { return m_dwCols; }
  tag_N4_SIGN_COLOR GetColorTech() const { return m_eColorTech; }
  tag_N4_PIXEL_TECH GetPixelTech() const { return m_ePixelTech; }
  const std::string& GetLibrary() const { return m_strLibrary; }
  const std::string& GetFile() const { return m_strFile; }
  const std::string& GetExtension() const { return m_strExtension; }
  DWORD GetFccType() const { return m_fccType; }
  int IsPaletteType() const { return m_bPalette; }

 private:
  std::string m_strPath;
  std::string m_strShareDir;
  DWORD m_dwRows = 0;
  DWORD m_dwCols = 0;
  tag_N4_SIGN_COLOR m_eColorTech = Mono1;
  tag_N4_PIXEL_TECH m_ePixelTech = PixelTechI;
  std::string m_strLibrary;
  std::string m_strFile;
  std::string m_strExtension;
  DWORD m_fccType = 0;
  int m_bPalette = 0;
};
