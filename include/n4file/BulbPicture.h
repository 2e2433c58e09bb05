// Pictures and bulb data: what a frame of each colour technology shows.
//
// A picture here is top-down rows of 8-bit red, green, blue triples with no
// row padding, one pixel per bulb. The mapping below is this library's
// definition of the bit planes; docs/formats.md describes it in full:
//   - planar frames hold one value per bulb, bit p of it in plane p;
//   - mono technologies (Mono1, Mono4, Mono16, Mono64): the value is an
//     intensity level, shown as grey; a picture gives its luminance;
//   - quad technologies (Quad16, Quad256, Quad64K, Quad16M): bulbs form 2 x 2
//     quads of a red, a green (top row), a blue and a white bulb (bottom
//     row); the value is that bulb's intensity level;
//   - tri-colour technologies (Tri3, Tri256): red bits above green bits;
//   - RGB64, RGB4K, RGB16M: red bits, then green, then blue (high to low);
//   - RGB32KB and RGB16MB: one packed 5-5-5 or BGR bitmap pixel per bulb.
// A level of n bits maps linearly onto 0 ... 255, rounded; a channel value
// maps back to the nearest level. So a picture that a frame shows turns back
// into exactly that frame, and a frame into exactly that picture.
//
// Thread safety: the functions are reentrant.
#pragma once

#include <vector>

#include "n4file/BulbData.h"
#include "n4file/Export.h"
#include "n4file/Types.h"

namespace n4 {

// How the bulbs of a technology show light.
enum BulbLight {
  kLightUnknown = 0,
  kLightMono,    // one intensity, grey
  kLightQuad,    // one intensity; colour by the bulb's place in its quad
  kLightTri,     // red and green
  kLightRgb,     // red, green and blue bit planes
  kLightBitmap,  // packed bitmap pixels
};

N4FILE_API BulbLight LightOf(DWORD color);
// Bits of one channel (or of the intensity); 0 for no technology.
N4FILE_API int BitsPerChannel(DWORD color);

// The file compression level that packs frames of this technology best
// without loss: 30 for planar frames (run-length or bit packing, whichever is
// smaller), 10 for packed pixels (run-length; 30 would choose the lossy video
// codec). 0 for no technology.
N4FILE_API DWORD BestLosslessLevel(DWORD color);

// One frame of bulb data (n4::FrameSize bytes) showing `rgb`, a picture of
// exactly width x height pixels; padding bits are zero. Empty for no
// technology, an empty sign or a frame larger than n4::kLargestFrameSize.
N4FILE_API std::vector<BYTE> PictureToBulbData(const BYTE* rgb, DWORD height, DWORD width, DWORD color);

// The picture (width x height x 3 bytes) that a frame shows. Empty when
// `length` is shorter than the frame or the geometry is not one of the above.
N4FILE_API std::vector<BYTE> BulbDataToPicture(const BYTE* frame, DWORD length, DWORD height, DWORD width,
                                               DWORD color);

}  // namespace n4
