// A part of a transfer that is one chunk's, by HDF5 itself.
#pragma once

#include "chunks/chunk_parts.hpp"
#include "chunks/chunked_transfer.hpp"

namespace chunks {

herr_t readPiece(const Transfer& transfer, const ChunkParts& parts, const ChunkPart& part,
                 void* array);
herr_t writePiece(const Transfer& transfer, const ChunkParts& parts, const ChunkPart& part,
                  const void* array);

}  // namespace chunks
