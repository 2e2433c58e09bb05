// Script files: plain text files of command lines.
//
// CN4FileScript holds a script's lines in memory, edits them by index, writes
// them back over the file in place, and splits one line at a time into
// tokens (words, or phrases in double quotes) for the caller to interpret.
//
// Text is single-byte, taken as it stands. Lines read without their ends: a
// line ends at a line feed, and a carriage return before it (a file written on
// Windows) is dropped too; a Ctrl-Z ends the text, as text mode reads it.
// Lines are written with the platform's line end ("\r\n" on Windows, "\n"
// elsewhere).
//
// Errors: Open returns 0 and keeps the cause in GetFileError(). Reading and
// writing throw n4::FileException, also when no file is open.
//
// Thread safety: none; use one object from one thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "n4file/Exceptions.h"
#include "n4file/Export.h"

namespace n4 {
class RandomAccessFile;
}

class N4FILE_API CN4FileScript {
 public:
  CN4FileScript();
  virtual ~CN4FileScript();
  CN4FileScript(const CN4FileScript&) = delete;
  CN4FileScript& operator=(const CN4FileScript&) = delete;

  // Opens path for reading and writing, refusing every other opener while it
  // is open (error 32 for them). With bWrite nonzero a missing file is
  // created; an existing file is never truncated. A file already open here is
  // closed first. 1 on success; 0 with the cause in GetFileError().
  int Open(const std::string& path, int bWrite);
  // The cause of the last failed Open: cause none and system error -1 when
  // the last Open succeeded or none was made.
  const n4::FileException& GetFileError() const { return m_fileError; }

  // Replaces the lines with the file's, read from its start; returns their number.
  int ReadScriptFile();
  // Writes every line over the file from its start and ends the file there,
  // so that a shorter script leaves nothing of a longer one.
  void WriteScriptFile();

  int GetLineCount() const;
  // 0 when index is out of range; else copies the line and returns 1.
  int GetLine(int index, std::string& line) const;
  // A null text adds an empty line. A negative index appends and returns the
  // new line's index; otherwise inserts at index (an index beyond the end
  // first grows the list with empty lines up to it) and returns index.
  int AddLine(const char* text, int index = -1);
  // 0 when index is out of range; else removes the line and returns 1.
  int DeleteLine(int index);
  // 0 when index is out of range; else replaces the line (null: empties it)
  // and returns 1.
  int SetLine(int index, const char* text);

  // Tokenises line `index` into the tokens; 0 (tokens unchanged) when out of range.
  int ParseLine(int index);
  // Tokenises any text; returns 1. Tokens are separated by blanks, tabs,
  // carriage returns and line feeds. A token that begins with '"' runs to the
  // next '"' (or the end of the text) and loses its quotes, so it keeps its
  // white space and may be empty; text right after a closing quote starts a
  // new token. A '"' inside an unquoted word is an ordinary character.
  int ParseLine(const std::string& text);

  int GetTokenCount() const;
  // 0 when index is out of range; else copies the token and returns 1.
  int GetToken(int index, std::string& token) const;
  // 0 when index is out of range; else replaces the token and returns 1.
  int SetToken(int index, const std::string& token);
  // Appends a token; returns its index.
  int AddToken(const std::string& token);
  void ClearTokens();

 private:
  std::unique_ptr<n4::RandomAccessFile> m_pFile;  // null when no file is open
  n4::FileException m_fileError;
  std::string m_strPath;  // named in the exceptions reads and writes raise
  std::vector<std::string> m_astrLines;
  std::vector<std::string> m_astrTokens;
};
