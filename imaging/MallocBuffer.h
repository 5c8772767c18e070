// The one owner of memory that comes from malloc or calloc. The image
// operations hand out malloc blocks and the job records hold them, so every
// buffer of the filter is freed alike, by whoever holds it last.
#ifndef KV_IMAGING_MALLOCBUFFER_H
#define KV_IMAGING_MALLOCBUFFER_H

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kvimg {

// Frees with free().
struct FreeDeleter {
    void operator()(void* p) const noexcept { std::free(p); }
};

// A malloc'd block of T.
template <class T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

// A malloc'd byte buffer: pages, rows, tables.
using MallocBuffer = MallocPtr<unsigned char>;

// Blocks of this many bytes or more fail as if memory were short; 0, the
// default, lets every block through. Tests set it to see what each step
// does without memory.
inline uint64_t g_failBlocksFrom = 0;

// Allocates `bytes` bytes with malloc (calloc when `zeroed`) into an owner;
// empty when the allocation fails.
template <class T = unsigned char>
MallocPtr<T> AllocateBlock(size_t bytes, bool zeroed = false)
{
    if (g_failBlocksFrom != 0 && bytes >= g_failBlocksFrom)
        return nullptr;
    return MallocPtr<T>(static_cast<T*>(zeroed ? std::calloc(bytes, 1) : std::malloc(bytes)));
}

}  // namespace kvimg

#endif
