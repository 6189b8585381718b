// The fuzz targets call the path functions directly and link only the frame
// sources the memory services need. Processor detection still stores the
// path index, which otherwise lives beside the dispatch stubs.
#include "core/internal.h"

VEXO_HIDDEN std::atomic<Vexo32s> dispatchIndex{-1};
