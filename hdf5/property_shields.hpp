// Properties that HDF5 takes as they come, though no release survives to use them:
// functions of its own form that stand for those of the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Pset. The bytes of a property may be a pointer or an identifier, which HDF5 follows
/// and frees, a structure, or a number that no function of its own would have set.
herr_t setRawProperty(hid_t list, const char* name, const void* value);

/// H5Pequal. Every release looks for the chunks of a chunked layout without any where it
/// compares a list with itself, which it is equal to.
htri_t equalLists(hid_t one, hid_t other);

/// H5Pset_cache and H5Pset_chunk_cache. The bytes of a table of so many slots wrap.
herr_t setCache(hid_t list, int elements, size_t slots, size_t bytes, double preemption);
herr_t setChunkCache(hid_t list, size_t slots, size_t bytes, double preemption);

/// H5Pset_hyper_vector_size. The bytes of a vector of so many pieces wrap.
herr_t setVectorSize(hid_t list, size_t size);

/// H5Pset_sym_k and H5Pset_istore_k. A node has room for 65535 entries, twice the rank:
/// 1.8 writes more all the same, later releases compare what has wrapped.
herr_t setSymbolRanks(hid_t list, unsigned tree, unsigned leaf);
herr_t setChunkRank(hid_t list, unsigned tree);

/// H5Pset_filter and H5Pmodify_filter. Szip divides by the number of pixels of a block.
herr_t setFilter(hid_t list, H5Z_filter_t filter, unsigned flags, size_t count,
                 const unsigned* data);
herr_t modifyFilter(hid_t list, H5Z_filter_t filter, unsigned flags, size_t count,
                    const unsigned* data);

/// H5Premove_filter. What moves up has its client data looked for in its old place where it
/// has none, and a copy of the list takes that for memory of its own: nobody survives to
/// close either.
herr_t removeFilter(hid_t list, H5Z_filter_t filter);

}  // namespace hdf5
