#include "BlobFile.h"

N4_IMPLEMENT_DYNCREATE(CTestBlob)
