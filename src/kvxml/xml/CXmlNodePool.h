#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "kvxml/xml/CXmlNodeName.h"

namespace KvXmlLib16 {

class CXmlDocument;

// Memory of one document's tree. A load creates about one element and a few attributes per
// hundred bytes of input, and nearly all of them repeat a handful of names and namespace URIs.
// So nodes come from slabs instead of the heap, and names are held once, here, with the nodes
// pointing at them: loading allocates little beyond the text itself.
//
// A node knows whether its block came from the pool or the heap and says so when it is freed, so
// blocks carry no header. A block finds its slab by its address, through an index of the slabs
// sorted by address. Each slab keeps its freed blocks for reuse, which keeps the filter path in constant
// memory, and counts the blocks in use: a slab none of whose blocks is in use goes back to the heap
// at once, so that memory falls as a reader releases parts of the tree.
// Blocks come from the slab being filled. Elements directly below the document element come from
// slabs of their own: they stay, as a skeleton, while the content below them is released.
// The pool counts its blocks and the nodes that use its names, and outlives its document while
// any is alive (a removed child the caller kept). Like the tree, it belongs to one thread at a time.
class CXmlNodePool {
public:
    // The pool of the document's tree; the document is known until it detaches.
    static CXmlNodePool* Create(CXmlDocument* document);
    CXmlDocument* GetDocument() const { return m_document; }

    // Heap or pool, as the pool is null or not; the result is aligned to 8 bytes, enough for
    // the nodes. Free takes the size and pool the block was allocated with.
    static void* Allocate(size_t size, CXmlNodePool* pool);
    static void Free(void* block, size_t size, CXmlNodePool* pool);
    // Whether Allocate serves a block of this size from a pool.
    static constexpr bool Pooled(size_t size) { return BlockSize(size) / kGranule < kSlots; }

    void AddRef() { ++m_references; }
    void Release();
    // The owning document lets go; the pool goes now or with its last user.
    void Detach();
    // Returns slabs to the heap when nothing uses them, and the names unless they are few.
    void Trim();
    // Around the deletion of a whole tree: freed blocks are not kept for reuse, and emptied slabs
    // are kept, up to a bound, for the next tree of the process, which then needs no fresh memory
    // from the system. Content released while a tree lives goes back to the heap as ever.
    void SetTearingDown(bool tearingDown) { m_tearingDown = tearingDown; }
    // A tree whose every node and store lives in the pool, with no node outside it, goes with its
    // slabs, without a visit to each node: false, with nothing done, when that cannot be known.
    // Gives the number of elements gone.
    bool DropTree(int64_t& elements);
    // Nodes in pool blocks, counted as they are marked and freed.
    void CountPooledNode(bool element, int delta) {
        m_pooledNodes += static_cast<size_t>(delta);
        if (element) m_pooledElements += delta;
    }
    // A node left the tree, or holds memory outside the pool: the next teardown visits every node.
    void MarkUnsafe() { m_treeOnly = false; }
    // Where the blocks allocated next come from; the skeleton is for the children of the root.
    enum Region { Region_Content = 0, Region_Skeleton = 1, Region_Count = 2 };
    void SetRegion(Region region) { m_region = region; }
    // Diagnostics for tests: slabs held and blocks in use.
    size_t GetSlabCount() const { return m_slabCount; }

    // Names of nodes: interned in the pool when there is one, else owned by the node. The pool
    // holds a bounded number of distinct names, so that a huge document of ever new names read
    // through a filter still runs in constant memory; names beyond that are owned.
    // A hint is a name the caller expects (the previous sibling's, say): equal names reuse it at once.
    static CXmlNodeName MakeName(CXmlNodePool* pool, std::u16string_view localName, std::u16string_view namespaceURI,
                                 const CXmlNodeName* hint = nullptr);
    static CXmlNodeName CopyName(CXmlNodeName name);
    // Text held once for all nodes of the pool, like names; null when there is no pool or no room.
    static const std::u16string* ShareText(CXmlNodePool* pool, std::u16string_view text) {
        return pool && !text.empty() ? pool->Intern(text) : nullptr;
    }
    static void DropName(CXmlNodeName name);
    static CXmlNodeName EmptyName() { return CXmlNodeName{reinterpret_cast<uintptr_t>(&EmptyPair())}; }
    static const CXmlNodeNamePair& EmptyPair() {
        static const CXmlNodeNamePair empty;
        return empty;
    }
    // A local static, ready before any static node could be built; constant-initialised (no guard)
    // where the standard library's string allows it.
    static const std::u16string& EmptyString() {
        static const std::u16string empty;
        return empty;
    }

private:
    explicit CXmlNodePool(CXmlDocument* document);
    ~CXmlNodePool();
    static constexpr size_t BlockSize(size_t size) { return (size + kGranule - 1) / kGranule * kGranule; }
    struct Slab;
    void* AllocateBlock(size_t blockSize);
    void FreeBlock(void* block, size_t blockSize);
    // Blocks too large for a slab: from the heap, but listed, so that DropTree finds them.
    struct LargeBlock {
        LargeBlock* previous;
        LargeBlock* next;
    };
    void* AllocateLarge(size_t size);
    void FreeLarge(void* block);
    // A slab able to serve the block: one with enough room freed, else a new one.
    Slab* NextSlab(size_t blockSize);
    Slab* NewSlab();
    void DeleteSlab(Slab* slab);
    // The slab that holds a block of this pool.
    Slab* SlabOf(const void* block);
    void LinkReusable(Slab* slab);
    void UnlinkReusable(Slab* slab);
    void ReleaseSlabs();
    // Null when the pool has no room for another text or name.
    const std::u16string* Intern(std::u16string_view text);
    const CXmlNodeNamePair* InternName(std::u16string_view localName, std::u16string_view namespaceURI);

    // Slabs grow from small to the largest size, so a small tree stays small. They come from the
    // heap as they are: aligned ones would leave holes that small allocations settle in, and the
    // memory of slabs emptied while a tree is read into objects would then not be reused for them.
    static constexpr size_t kFirstSlabSize = 16 * 1024;
    static constexpr size_t kLargestSlabSize = 64 * 1024;
    static constexpr size_t kGranule = 8;
    static constexpr size_t kSlots = 64; // blocks up to 512 bytes come from the pool
    static constexpr size_t kMaxNames = 65536;

    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::u16string_view text) const { return std::hash<std::u16string_view>()(text); }
        size_t operator()(const std::u16string& text) const { return (*this)(std::u16string_view(text)); }
    };
    struct NameEqual {
        using is_transparent = void;
        bool operator()(std::u16string_view a, std::u16string_view b) const { return a == b; }
    };
    struct PairKey {
        std::u16string_view localName;
        std::u16string_view namespaceURI;
    };
    struct PairHash {
        using is_transparent = void;
        size_t operator()(PairKey key) const {
            const size_t local = std::hash<std::u16string_view>()(key.localName);
            return local ^ (std::hash<std::u16string_view>()(key.namespaceURI) + 0x9E3779B97F4A7C15ull + (local << 6));
        }
        size_t operator()(const CXmlNodeNamePair& pair) const {
            return (*this)(PairKey{pair.localName, pair.namespaceURI});
        }
    };
    struct PairEqual {
        using is_transparent = void;
        static PairKey Key(PairKey key) { return key; }
        static PairKey Key(const CXmlNodeNamePair& pair) { return PairKey{pair.localName, pair.namespaceURI}; }
        template <class A, class B>
        bool operator()(const A& a, const B& b) const {
            return Key(a).localName == Key(b).localName && Key(a).namespaceURI == Key(b).namespaceURI;
        }
    };

    CXmlDocument* m_document;
    // The slab being filled, per region; slabs with room freed, per region.
    Slab* m_current[Region_Count];
    Slab* m_reusable[Region_Count];
    Region m_region;
    bool m_tearingDown;
    bool m_treeOnly;
    Slab* m_slabs; // every slab, for DropTree
    // Every slab again, by address, for SlabOf; and the slab it found last, since blocks are
    // mostly freed in the order they were handed out.
    std::vector<Slab*> m_slabIndex;
    Slab* m_lastSlab = nullptr;
    LargeBlock* m_largeBlocks;
    size_t m_liveBlocks;
    size_t m_pooledNodes;
    int64_t m_pooledElements;
    size_t m_slabCount;
    size_t m_references;
    size_t m_nextSlabSize;
    bool m_attached;
    // Shared texts (blanks) and names.
    using TextSet = std::unordered_set<std::u16string, NameHash, NameEqual>;
    using NameSet = std::unordered_set<CXmlNodeNamePair, PairHash, PairEqual>;
    TextSet m_texts;
    NameSet m_names;
    // Texts and names asked for recently, by a cheap key: most lookups end here without hashing.
    static constexpr size_t kRecentNames = 64;
    const std::u16string* m_recentTexts[kRecentNames];
    const CXmlNodeNamePair* m_recentNames[kRecentNames];
};

} // namespace KvXmlLib16
