// Calibration files: one correction triple per bulb of a sign face, stored as
// an uncompressed 24-bit bitmap (extension "CA4") so ordinary image tools can
// show it.
//
// CN4FileCalibration is both the file and the in-memory image: it owns the
// two bitmap headers and the pixel buffer, reads and writes them in bitmap
// order, and copies rectangular module areas between a caller's packed buffer
// and its own. CN4FileCalibrationEx reads each pixel's three bytes as signed
// corrections (blue, green, red) and adds per-pixel and per-area arithmetic.
//
// Two addressing rules meet here on purpose. The buffer read from a file is
// sized with rows padded to four bytes, as in any 24-bit bitmap, but a pixel
// (x, y) of a face cx columns wide is found at (y * cx + x) * 3, without the
// padding. Files written by other tools of the product depend on both.
//
// Reading is lenient: no header field is validated, and a file shorter than
// its headers claim reads with the missing bytes as zero.
//
// Robustness: every pixel, module and area operation checks the whole pixel
// (all three bytes) against the buffer, whatever the point, rectangle or
// sizes; arithmetic on coordinates and sizes is done in 64 bits and what does
// not fit is refused. The places where this changes a result the product's
// older code would have given are noted at each operation.
//
// Thread safety: an object is used by one thread at a time. The static
// operations keep no state and may run on any thread, CreateNewFileName and
// CreateNewFileNameEx included.
#pragma once

#include <memory>
#include <string>

#include "n4file/Exceptions.h"
#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {

class RandomAccessFile;

// Why the last open failed, kept as the framework's file exception keeps it:
// a cause code, the operating system's error number (Windows numbering on
// every platform) and the file name. A fresh record holds `none`, -1 and "".
struct N4FILE_API FileErrorRecord {
  // The framework's causes, the same as its file exception's.
  using Cause = n4::FileException::Cause;
  using enum n4::FileException::Cause;

  int m_cause = none;
  LONG m_lOsError = -1;
  std::string m_strFileName;

  // The cause the framework gives a Windows system error number.
  static int CauseFromOsError(DWORD osError);
};

// Frees a pixel buffer (allocated zeroed and lazily by the library).
struct N4FILE_API CalibrationBufferDeleter {
  void operator()(unsigned char* p) const noexcept;
};

}  // namespace n4

class N4FILE_API CN4FileCalibration {
 public:
  // File header "BM"; info header of 40 bytes, cols wide, rows high, one
  // plane, 24 bits per pixel. No pixel buffer yet.
  CN4FileCalibration(unsigned long rows, unsigned long cols);
  // Closes the file.
  virtual ~CN4FileCalibration();
  CN4FileCalibration(const CN4FileCalibration&) = delete;
  CN4FileCalibration& operator=(const CN4FileCalibration&) = delete;

  // Closes the file when it is open; headers and buffer stay.
  virtual void Close();

  // bWrite 0: read only; nonzero: created (an existing file truncated) for
  // reading and writing. Either way no other opener may read or write it while
  // it is open. An open file is closed first. Returns the new open flag (1 or
  // 0); on failure the cause is in GetFileError().
  virtual int Open(const char* name, int bWrite);
  virtual int IsOpen();
  // The whole file: file header, info header, pixel data, each step through
  // its virtual operation, stopping at the first that fails. 1 or 0.
  virtual int ReadFile();
  // Writes file header, info header and data, then reads the file header
  // back from the disk, sets bfSize = data size + 54 and bfOffBits = 54 in it
  // and writes it again. 1 or 0.
  virtual int WriteFile();

  // Replaces the buffer with `size` bytes equal to `value`. A size the 32-bit
  // data size cannot hold, or one that cannot be allocated, leaves the object
  // unchanged. The second form forwards (a negative size is thus refused).
  virtual void InitializeDataBuffer(char value, unsigned long size);
  virtual void InitializeDataBuffer(unsigned char value, int size);
  // biHeight / biWidth; the buffer is never resized.
  virtual void SetRows(unsigned long rows);
  virtual void SetCols(unsigned long cols);
  // Replaces the buffer with a copy of `size` bytes. Null data, or a size
  // that cannot be held, leaves the object unchanged. The second form forwards.
  virtual void SetFileData(char* data, unsigned long size);
  virtual void SetFileData(unsigned char* data, int size);
  // Stores a copy, then forces bfType "BM" and zero reserved words.
  virtual void SetFileHeader(BITMAPFILEHEADER* header);
  // Stores a copy, then forces biSize 40 and biBitCount 24.
  virtual void SetInfoHeader(BITMAPINFOHEADER* header);
  // The static SetModuleData on this face: size (GetCols(), GetRows()), the
  // object's buffer and data size.
  virtual int SetModuleData(CRect* area, unsigned char* data, unsigned long size);
  // biHeight / biWidth (0 without an info header), the buffer's byte count.
  virtual unsigned long GetRows();
  virtual unsigned long GetCols();
  virtual unsigned long GetDataSize();
  // The object's own buffer (still owned by it; null when none); *size, when
  // given, receives the data size.
  virtual char* GetPtrToFileData(unsigned long* size);
  // Copies min(size, data size) bytes; returns the count, 0 when dest is null
  // or there is no buffer. The int form copies nothing for a size <= 0.
  virtual unsigned long GetFileData(char* dest, unsigned long size);
  virtual int GetFileData(unsigned char* dest, int size);
  // Copy the header out when both it and the argument exist.
  virtual void GetFileHeader(BITMAPFILEHEADER* header);
  virtual void GetInfoHeader(BITMAPINFOHEADER* header);
  virtual int GetModuleData(CRect* area, unsigned char* dest, unsigned long size);

  // Byte offset of pixel pt on a face of `size`: (y * cx + x) * 3. -1 for a
  // null argument, x >= cx or y >= cy, or a negative result. Negative
  // coordinates pass the first tests, so (-1, 1) on a face 10 wide is pixel
  // (9, 0). An offset beyond the int range is -1 too.
  static int GetPixelOffset(CPoint* pt, CSize* size);
  // Stores third, second, first at the pixel's three bytes (blue, green, red
  // order). 1, or 0 for a null dest or a pixel not wholly inside destSize
  // bytes (the older code tested only the pixel's first byte).
  static int SetPixelData(CPoint* pt, unsigned char first, unsigned char second,
                          unsigned char third, CSize* size, unsigned char* dest,
                          unsigned long destSize);
  static int GetPixelData(CPoint* pt, unsigned char* first, unsigned char* second,
                          unsigned char* third, CSize* size, unsigned char* src,
                          unsigned long srcSize);
  // Copies a module (rectangle) from a packed source, 3 bytes per pixel with
  // no row padding, into dest. The size needed is
  // ((w * 24 + 31) / 32) * h * 4 with w, h the area's width and height
  // (padded rows, although the copy itself is packed). Returns: -1 for a null
  // area; the needed size when src is null or srcSize 0 (nothing copied); -1
  // when srcSize is smaller; otherwise the needed size after copying row by
  // row, or -1 at the first pixel that does not fit the face (pixels before it
  // stay copied). A needed size outside the int range is refused with -1.
  // REQUIRES: src holds srcSize bytes, dest holds destSize bytes.
  static int SetModuleData(CRect* area, unsigned char* src, unsigned long srcSize, CSize* size,
                           unsigned char* dest, unsigned long destSize);
  // The mirror: packed pixels of the area from src into dest.
  static int GetModuleData(CRect* area, unsigned char* dest, unsigned long destSize, CSize* size,
                           unsigned char* src, unsigned long srcSize);

  // Sets the file's read-only attribute when bReadOnly is nonzero. Zero never
  // clears it: calibration files are only ever protected, not released.
  static void SetReadOnly(const char* path, int bReadOnly);
  // A name for the next calibration file of `name` and `face`, dated today:
  // "NAME.15Mar01.FB.R03.CA4". The month abbreviation is the registry value
  // "Month_Abbr<m>" of the language's "Date Names" key (language "English"
  // when null); without that key the date reads "15_03_01". The revision is
  // one more than the highest found among the data directory's files of the
  // same name, date and face (R01 when none). Faces 1 to 8 are FA to FH,
  // anything else F<number>. Nothing happens when out is null.
  // REQUIRES: out holds MAX_PATH (260) characters. A name that would not fit
  // is not written; out then holds "".
  static void CreateNewFileName(char* out, const char* name, int face, const char* language);

  // The cause of the last failed open.
  const n4::FileErrorRecord& GetFileError() const { return m_fileError; }

 protected:
  enum OpenMode { kOpenReadOnly, kOpenReadWrite, kOpenCreate };
  // Opens in `mode` with exclusive sharing, recording the open flag and, on
  // failure, the cause. An open file is closed first.
  int OpenWithMode(const char* name, OpenMode mode);
  // Clears the open flag (and closes) without opening anything.
  void MarkNotOpen();
  // The info header, null when none.
  const BITMAPINFOHEADER* InfoHeader() const { return m_pInfoHeader.get(); }

  // The steps of ReadFile and WriteFile, each 1 or 0. Each fails without
  // touching the file when it is not open or a buffer it needs is missing;
  // an error of the file inside a step makes it return 0.
  virtual int ReadCalFileInfoHeader();
  virtual int ReadCalFileHeader();
  virtual int ReadCalFileData();
  virtual int WriteCalFileInfoHeader();
  virtual int WriteCalFileHeader();
  virtual int WriteCalFileData();

 private:
  void ReplaceData(std::unique_ptr<unsigned char[], n4::CalibrationBufferDeleter> data, DWORD size);

  n4::FileErrorRecord m_fileError;
  int m_bOpen = 0;
  DWORD m_dwDataSize = 0;
  std::unique_ptr<unsigned char[], n4::CalibrationBufferDeleter> m_pData;
  std::unique_ptr<BITMAPFILEHEADER> m_pFileHeader;
  std::unique_ptr<BITMAPINFOHEADER> m_pInfoHeader;
  std::unique_ptr<n4::RandomAccessFile> m_pFile;
};

// Each pixel's bytes as signed corrections, -128 to 127, in RGBTRIPLE order:
// blue at the pixel's offset, green at + 1, red at + 2. The face width is the
// info header's biWidth.
class N4FILE_API CN4FileCalibrationEx : public CN4FileCalibration {
 public:
  CN4FileCalibrationEx(unsigned long rows, unsigned long cols);
  ~CN4FileCalibrationEx() override;

  using CN4FileCalibration::GetPixelOffset;
  using CN4FileCalibration::Open;

  // Exclusive sharing in every mode:
  //   bReadOnly  bOpenExisting  bTruncate   result
  //   nonzero    0              any         refused: 0, nothing opened
  //   nonzero    nonzero        any         read only
  //   0          0              any         created (truncated), read/write
  //   0          nonzero        0           existing file, read/write
  //   0          nonzero        nonzero     created (truncated), read/write
  // An open file is closed first, in the refused case too.
  virtual int Open(const char* name, int bOpenExisting, int bTruncate, int bReadOnly);
  // Walks the area row by row (not normalised), taking the next value for
  // each pixel through the virtual SetPixelCalData; a pixel that fails skips
  // the rest of its row without consuming its values. 0 for a null argument
  // or count < width * height; else the result of the last call (0 if none).
  virtual int SetAreaData(CRect* area, RGBTRIPLE* values, unsigned long count);
  virtual int SetAreaCalData(CRect* area, RGBTRIPLE value);
  virtual int SetPixelCalData(CPoint* pt, RGBTRIPLE value);
  virtual int OffsetAreaCalData(CRect* area, RGBTRIPLE offset, int* clipped);
  virtual int OffsetPixelCalData(CPoint* pt, RGBTRIPLE offset, int* clipped);
  // The mirror of SetAreaData: pixels of the area, row by row, into values
  // through the virtual GetPixelCalData; a pixel that fails skips the rest of
  // its row and its slots stay as they were. Returns the number of pixels
  // copied: 0 for a null argument or count < width * height.
  virtual unsigned long GetAreaData(CRect* area, RGBTRIPLE* values, unsigned long count);
  virtual int GetAreaAvgCalData(CRect* area, RGBTRIPLE* average);
  virtual int GetAreaTopLeftCalData(CRect* area, RGBTRIPLE* value);
  virtual int GetPixelCalData(CPoint* pt, RGBTRIPLE* value);

  // (|y| * width + |x|) * 3, storing |x| and |y| back into the caller's
  // point: negative points address the mirrored pixel. 0 for a null point.
  // No range test; an offset beyond unsigned long (or a coordinate of
  // -2147483648, whose absolute value a LONG cannot hold, left unchanged)
  // gives the largest unsigned long, which no buffer holds a pixel at.
  static unsigned long GetPixelOffset(CPoint* pt, unsigned long width);
  // value + offset as signed bytes, saturated to -128..127; *clipped (when
  // given) 1 when it saturated, else 0.
  static char CalcNewCalDataFromOffset(char value, char offset, int* clipped);
  // sum / count in floating point, truncated toward zero, limited to
  // -128..127; 0 when count is 0.
  static int CalcAverage(int sum, unsigned int count);

  // Pixel operations on a buffer: 0 for a null point or data (or result), or a
  // pixel not wholly inside dataSize bytes (the older code tested only the
  // first byte); else 1.
  static int SetPixelCalData(CPoint* pt, RGBTRIPLE value, unsigned long width,
                             unsigned char* data, unsigned long dataSize);
  static int GetPixelCalData(CPoint* pt, RGBTRIPLE* value, unsigned long width,
                             unsigned char* data, unsigned long dataSize);
  // Saturating add per component; *clipped 1 when any saturated, 0 otherwise
  // and when the pixel is out of range.
  static int OffsetPixelCalData(CPoint* pt, RGBTRIPLE offset, unsigned long width,
                                unsigned char* data, unsigned long dataSize, int* clipped);

  // Area operations normalise the rectangle, then visit rows top..bottom-1
  // and in each columns left..right-1 with the pixel operations above.
  // An area of more than 4 * (dataSize / 3) + 4 pixels is refused as a whole
  // (0, nothing touched, averages 0): that bound covers the face and all its
  // mirrored addresses, and keeps a hostile rectangle from running for hours
  // over pixels that mirrored addressing reaches again and again.
  // Sets every pixel; returns the last pixel's result (0 for an empty area).
  static int SetAreaCalData(CRect* area, RGBTRIPLE value, unsigned long width,
                            unsigned char* data, unsigned long dataSize);
  // *clipped 1 when any pixel saturated; returns the last pixel's result.
  static int OffsetAreaCalData(CRect* area, RGBTRIPLE offset, unsigned long width,
                               unsigned char* data, unsigned long dataSize, int* clipped);
  // CalcAverage of each component over the pixels that can be read; returns
  // the result of reading the last pixel (0 for an empty area, the averages
  // 0 then).
  static int GetAreaAvgCalData(CRect* area, RGBTRIPLE* average, unsigned long width,
                               unsigned char* data, unsigned long dataSize);
  // The pixel at the normalised rectangle's top-left corner.
  static int GetAreaTopLeftCalData(CRect* area, RGBTRIPLE* value, unsigned long width,
                                   unsigned char* data, unsigned long dataSize);

  // CreateNewFileName with an extra text as its own field between the face
  // label and the revision, marked by a leading "E" (face labels begin with
  // "F", revisions with "R"): "NAME.15Mar01.FB.EGain.R04.CA4". Characters
  // that would break the name into more fields or paths (". \ / : * ? " < >
  // |" and control characters) become "_". The revision counts every file of
  // the name, date and face, with or without extra text, so revisions of one
  // face and day never repeat. A null or empty extra gives CreateNewFileName's
  // name.
  static void CreateNewFileNameEx(char* out, const char* name, int face, const char* language,
                                  const char* extra);

 private:
  unsigned long FaceWidth() const;
};
