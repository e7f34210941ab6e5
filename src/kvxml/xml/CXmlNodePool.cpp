#include "kvxml/xml/CXmlNodePool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>

// Under AddressSanitizer (of either compiler) free and not yet handed-out pool memory is marked
// unaddressable, so that a node used after its deletion is reported; the pool works as always.
#if defined(__SANITIZE_ADDRESS__)
#define KVXML_POOL_POISONING 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVXML_POOL_POISONING 1
#endif
#endif
#if defined(KVXML_POOL_POISONING)
#include <sanitizer/asan_interface.h>
#define KVXML_POISON(address, size) ASAN_POISON_MEMORY_REGION(address, size)
#define KVXML_UNPOISON(address, size) ASAN_UNPOISON_MEMORY_REGION(address, size)
#else
#define KVXML_POISON(address, size) ((void)(address), (void)(size))
#define KVXML_UNPOISON(address, size) ((void)(address), (void)(size))
#endif

namespace KvXmlLib16 {

struct CXmlNodePool::Slab {
    Slab* previous;
    Slab* next;
    Slab* previousReusable;
    Slab* nextReusable;
    unsigned char* cursor; // the untouched rest runs from here to end
    unsigned char* end;
    uint32_t liveBlocks;
    uint32_t freeBytes; // in the free lists
    Region region;
    bool reusable;
    void* freeLists[kSlots];

    size_t Size() const { return static_cast<size_t>(end - reinterpret_cast<const unsigned char*>(this)); }
    // Worth filling again: a quarter or more of it is free.
    bool MostlyFree() const { return 4 * (freeBytes + static_cast<size_t>(end - cursor)) >= Size(); }
};

namespace {

constexpr size_t kSlabHeader = (sizeof(void*) * 6 + 16 + 64 * sizeof(void*) + 15) / 16 * 16;

// Slabs of torn down trees, for the next tree of any thread. A few megabytes spare most of the
// page faults of the next large load; a process that once read a large document keeps no more.
struct SpareSlabs {
    std::mutex lock;
    void* head = nullptr;
    size_t count = 0;
    static constexpr size_t kLimit = 64;
};

SpareSlabs& Spares() {
    static SpareSlabs* spares = new SpareSlabs(); // never destroyed: trees may go at exit
    return *spares;
}

// The names and blanks of the last small pool to go, for the next pool of any thread: documents
// read one after another mostly share their names, which are then not hashed and allocated anew.
struct SpareNames {
    std::mutex lock;
    void* names = nullptr; // the set types are private to the pool: it casts them back
    void* texts = nullptr;
    static constexpr size_t kLimit = 256;
};

SpareNames& NameSpares() {
    static SpareNames* spares = new SpareNames(); // never destroyed, as above
    return *spares;
}

} // namespace

CXmlNodePool::CXmlNodePool(CXmlDocument* document)
    : m_document(document),
      m_current{},
      m_reusable{},
      m_region(Region_Content),
      m_tearingDown(false),
      m_treeOnly(true),
      m_slabs(nullptr),
      m_largeBlocks(nullptr),
      m_liveBlocks(0),
      m_pooledNodes(0),
      m_pooledElements(0),
      m_slabCount(0),
      m_references(0),
      m_nextSlabSize(kFirstSlabSize),
      m_attached(true),
      m_recentTexts{},
      m_recentNames{} {
    static_assert(sizeof(Slab) <= kSlabHeader, "the slab header fits its room");
    SpareNames& spares = NameSpares();
    std::unique_ptr<NameSet> names;
    std::unique_ptr<TextSet> texts;
    {
        std::lock_guard<std::mutex> guard(spares.lock);
        names.reset(static_cast<NameSet*>(spares.names));
        texts.reset(static_cast<TextSet*>(spares.texts));
        spares.names = spares.texts = nullptr;
    }
    if (names) m_names.swap(*names);
    if (texts) m_texts.swap(*texts);
}

CXmlNodePool::~CXmlNodePool() {
    ReleaseSlabs();
    // No node uses the names any more; a small set waits for the next pool.
    if (m_names.size() > SpareNames::kLimit || m_texts.size() > SpareNames::kLimit) return;
    try {
        auto names = std::make_unique<NameSet>(std::move(m_names));
        auto texts = std::make_unique<TextSet>(std::move(m_texts));
        SpareNames& spares = NameSpares();
        std::lock_guard<std::mutex> guard(spares.lock);
        if (spares.names) return;
        spares.names = names.release();
        spares.texts = texts.release();
    } catch (...) {
        // Not kept, then: the next pool starts empty.
    }
}

CXmlNodePool* CXmlNodePool::Create(CXmlDocument* document) { return new CXmlNodePool(document); }

void CXmlNodePool::ReleaseSlabs() {
    while (m_largeBlocks) {
        LargeBlock* next = m_largeBlocks->next;
        std::free(m_largeBlocks);
        m_largeBlocks = next;
    }
    while (m_slabs) DeleteSlab(m_slabs);
    for (Slab*& slab : m_current) slab = nullptr;
    for (Slab*& list : m_reusable) list = nullptr;
    m_nextSlabSize = kFirstSlabSize;
}

CXmlNodePool::Slab* CXmlNodePool::NewSlab() {
    size_t size = m_nextSlabSize;
    void* memory = nullptr;
    {
        SpareSlabs& spares = Spares();
        std::lock_guard<std::mutex> guard(spares.lock);
        if (spares.head) {
            memory = spares.head;
            spares.head = *static_cast<void**>(memory);
            --spares.count;
            size = kLargestSlabSize;
        }
    }
    if (!memory) {
        memory = ::operator new(size);
        if (m_nextSlabSize < kLargestSlabSize) m_nextSlabSize *= 2;
    }
    try {
        const auto at = std::upper_bound(m_slabIndex.begin(), m_slabIndex.end(), memory,
                                         [](const void* a, const Slab* b) { return a < static_cast<const void*>(b); });
        m_slabIndex.insert(at, static_cast<Slab*>(memory));
    } catch (...) {
        ::operator delete(memory);
        throw;
    }
    KVXML_UNPOISON(memory, kSlabHeader);
    auto* slab = static_cast<Slab*>(memory);
    slab->previous = nullptr;
    slab->next = m_slabs;
    if (m_slabs) m_slabs->previous = slab;
    m_slabs = slab;
    slab->previousReusable = slab->nextReusable = nullptr;
    slab->cursor = reinterpret_cast<unsigned char*>(slab) + kSlabHeader;
    slab->end = reinterpret_cast<unsigned char*>(slab) + size;
    slab->liveBlocks = 0;
    slab->freeBytes = 0;
    slab->region = m_region;
    slab->reusable = false;
    for (void*& list : slab->freeLists) list = nullptr;
    KVXML_POISON(slab->cursor, static_cast<size_t>(slab->end - slab->cursor));
    ++m_slabCount;
    return slab;
}

void CXmlNodePool::DeleteSlab(Slab* slab) {
    const size_t size = slab->Size();
    --m_slabCount;
    const auto at = std::lower_bound(m_slabIndex.begin(), m_slabIndex.end(), slab);
    if (at != m_slabIndex.end() && *at == slab) m_slabIndex.erase(at);
    if (m_lastSlab == slab) m_lastSlab = nullptr;
    if (slab->previous)
        slab->previous->next = slab->next;
    else
        m_slabs = slab->next;
    if (slab->next) slab->next->previous = slab->previous;
    if (m_tearingDown && size == kLargestSlabSize) {
        SpareSlabs& spares = Spares();
        std::lock_guard<std::mutex> guard(spares.lock);
        if (spares.count < SpareSlabs::kLimit) {
            // The link stays readable: the leak checker follows no pointer in poisoned memory.
            KVXML_UNPOISON(slab, sizeof(void*));
            *reinterpret_cast<void**>(slab) = spares.head;
            KVXML_POISON(reinterpret_cast<unsigned char*>(slab) + sizeof(void*), size - sizeof(void*));
            spares.head = slab;
            ++spares.count;
            return;
        }
    }
    KVXML_UNPOISON(slab, size);
    ::operator delete(slab);
}

void CXmlNodePool::LinkReusable(Slab* slab) {
    Slab*& head = m_reusable[slab->region];
    slab->previousReusable = nullptr;
    slab->nextReusable = head;
    if (head) head->previousReusable = slab;
    head = slab;
    slab->reusable = true;
}

void CXmlNodePool::UnlinkReusable(Slab* slab) {
    if (slab->previousReusable)
        slab->previousReusable->nextReusable = slab->nextReusable;
    else
        m_reusable[slab->region] = slab->nextReusable;
    if (slab->nextReusable) slab->nextReusable->previousReusable = slab->previousReusable;
    slab->previousReusable = slab->nextReusable = nullptr;
    slab->reusable = false;
}

void* CXmlNodePool::Allocate(size_t size, CXmlNodePool* pool) {
    if (pool && Pooled(size)) return pool->AllocateBlock(BlockSize(size));
    if (pool) return pool->AllocateLarge(size);
    void* memory = std::malloc(size != 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

namespace {

inline bool CanServe(const unsigned char* cursor, const unsigned char* end, void* const* freeLists, size_t blockSize,
                     size_t granule) {
    return freeLists[blockSize / granule] || static_cast<size_t>(end - cursor) >= blockSize;
}

} // namespace

CXmlNodePool::Slab* CXmlNodePool::NextSlab(size_t blockSize) {
    // A slab on the list that cannot serve this size leaves it until more of it is freed.
    while (Slab* slab = m_reusable[m_region]) {
        UnlinkReusable(slab);
        if (CanServe(slab->cursor, slab->end, slab->freeLists, blockSize, kGranule)) return slab;
    }
    return NewSlab();
}

void* CXmlNodePool::AllocateBlock(size_t blockSize) {
    const size_t slot = blockSize / kGranule;
    Slab* slab = m_current[m_region];
    if (!slab || !CanServe(slab->cursor, slab->end, slab->freeLists, blockSize, kGranule)) {
        Slab* next = NextSlab(blockSize);
        // The slab left behind is kept for its blocks in use, or goes.
        if (slab) {
            if (slab->liveBlocks == 0)
                DeleteSlab(slab);
            else if (slab->MostlyFree())
                LinkReusable(slab);
        }
        m_current[m_region] = slab = next;
    }
    void* block = slab->freeLists[slot];
    if (block) {
        KVXML_UNPOISON(block, blockSize);
        slab->freeLists[slot] = *static_cast<void**>(block);
        slab->freeBytes -= static_cast<uint32_t>(blockSize);
    } else {
        block = slab->cursor;
        slab->cursor += blockSize;
        KVXML_UNPOISON(block, blockSize);
    }
    ++slab->liveBlocks;
    ++m_liveBlocks;
    ++m_references;
    return block;
}

void CXmlNodePool::Free(void* block, size_t size, CXmlNodePool* pool) {
    if (!block) return;
    if (pool && Pooled(size))
        pool->FreeBlock(block, BlockSize(size));
    else if (pool)
        pool->FreeLarge(block);
    else
        std::free(block);
}

void* CXmlNodePool::AllocateLarge(size_t size) {
    if (size > SIZE_MAX - sizeof(LargeBlock)) throw std::bad_alloc();
    auto* header = static_cast<LargeBlock*>(std::malloc(sizeof(LargeBlock) + size));
    if (!header) throw std::bad_alloc();
    static_assert(sizeof(LargeBlock) % 16 == 0, "large blocks keep the heap's alignment");
    header->previous = nullptr;
    header->next = m_largeBlocks;
    if (m_largeBlocks) m_largeBlocks->previous = header;
    m_largeBlocks = header;
    ++m_liveBlocks;
    ++m_references;
    return header + 1;
}

void CXmlNodePool::FreeLarge(void* block) {
    LargeBlock* header = static_cast<LargeBlock*>(block) - 1;
    if (header->previous)
        header->previous->next = header->next;
    else
        m_largeBlocks = header->next;
    if (header->next) header->next->previous = header->previous;
    std::free(header);
    --m_liveBlocks;
    Release();
}

CXmlNodePool::Slab* CXmlNodePool::SlabOf(const void* block) {
    const auto* at = static_cast<const unsigned char*>(block);
    if (m_lastSlab && at >= reinterpret_cast<const unsigned char*>(m_lastSlab) && at < m_lastSlab->end)
        return m_lastSlab;
    // The last slab that starts at or below the block; the block lies inside it.
    const auto next = std::upper_bound(m_slabIndex.begin(), m_slabIndex.end(), block,
                                       [](const void* a, const Slab* b) { return a < static_cast<const void*>(b); });
    if (next == m_slabIndex.begin()) throw std::logic_error("a block freed into a pool that does not hold it");
    m_lastSlab = *(next - 1);
    return m_lastSlab;
}

void CXmlNodePool::FreeBlock(void* block, size_t blockSize) {
    Slab* slab = SlabOf(block);
    const size_t slot = blockSize / kGranule;
    --m_liveBlocks;
    if (--slab->liveBlocks == 0 && slab != m_current[slab->region]) {
        if (slab->reusable) UnlinkReusable(slab);
        DeleteSlab(slab);
    } else if (m_tearingDown) {
        // The slab goes with its last block: no need to touch this one.
        KVXML_POISON(block, blockSize);
    } else {
        *static_cast<void**>(block) = slab->freeLists[slot];
        slab->freeLists[slot] = block;
        slab->freeBytes += static_cast<uint32_t>(blockSize);
        KVXML_POISON(block, blockSize);
        if (!slab->reusable && slab != m_current[slab->region] && slab->MostlyFree()) LinkReusable(slab);
    }
    Release();
}

void CXmlNodePool::Release() {
    if (--m_references == 0 && !m_attached) delete this;
}

void CXmlNodePool::Detach() {
    m_attached = false;
    m_document = nullptr;
    if (m_references == 0) delete this;
}

bool CXmlNodePool::DropTree(int64_t& elements) {
    // Every reference is a block or a node in a block: no node elsewhere uses the pool.
    if (!m_treeOnly || m_references != m_liveBlocks + m_pooledNodes) return false;
    elements = m_pooledElements;
    m_references = 0;
    m_liveBlocks = m_pooledNodes = 0;
    m_pooledElements = 0;
    ReleaseSlabs();
    return true;
}

void CXmlNodePool::Trim() {
    if (m_references != 0) return;
    m_treeOnly = true;
    ReleaseSlabs();
    m_region = Region_Content;
    // A few names are kept for the next tree, which mostly uses them again; many are let go, so
    // that documents of ever new names do not pile them up.
    if (m_names.size() <= SpareNames::kLimit && m_texts.size() <= SpareNames::kLimit) return;
    for (const std::u16string*& text : m_recentTexts) text = nullptr;
    for (const CXmlNodeNamePair*& name : m_recentNames) name = nullptr;
    m_texts.clear();
    m_names.clear();
}

const std::u16string* CXmlNodePool::Intern(std::u16string_view text) {
    // Two-way cache keyed by length and three characters; the hash table only on a miss.
    const size_t size = text.size();
    const uint32_t mix = static_cast<uint32_t>(size) * 0x9E3779B1u ^ static_cast<uint32_t>(text[0]) * 0x85EBCA6Bu ^
                         static_cast<uint32_t>(text[size / 2]) * 0xC2B2AE35u ^ static_cast<uint32_t>(text[size - 1]);
    const size_t key = ((mix ^ (mix >> 15)) % (kRecentNames / 2)) * 2;
    for (size_t way = key; way < key + 2; ++way) {
        const std::u16string* recent = m_recentTexts[way];
        if (recent && recent->size() == size && std::memcmp(recent->data(), text.data(), size * sizeof(char16_t)) == 0)
            return recent;
    }
    auto found = m_texts.find(text);
    if (found == m_texts.end()) {
        if (m_texts.size() >= kMaxNames) return nullptr;
        found = m_texts.emplace(text).first;
    }
    // The newer entry takes the first way, the older moves to the second.
    m_recentTexts[key + 1] = m_recentTexts[key];
    m_recentTexts[key] = &*found;
    return m_recentTexts[key];
}

namespace {

inline bool SameText(const std::u16string& held, std::u16string_view text) {
    return held.size() == text.size() &&
           (text.empty() || std::memcmp(held.data(), text.data(), text.size() * sizeof(char16_t)) == 0);
}

} // namespace

const CXmlNodeNamePair* CXmlNodePool::InternName(std::u16string_view localName, std::u16string_view namespaceURI) {
    // As Intern, keyed by the local name's length and three characters and the URI's length.
    const size_t size = localName.size();
    uint32_t mix = static_cast<uint32_t>(namespaceURI.size()) * 0x27D4EB2Fu;
    if (size)
        mix ^= static_cast<uint32_t>(size) * 0x9E3779B1u ^ static_cast<uint32_t>(localName[0]) * 0x85EBCA6Bu ^
               static_cast<uint32_t>(localName[size / 2]) * 0xC2B2AE35u ^ static_cast<uint32_t>(localName[size - 1]);
    const size_t key = ((mix ^ (mix >> 15)) % (kRecentNames / 2)) * 2;
    for (size_t way = key; way < key + 2; ++way) {
        const CXmlNodeNamePair* recent = m_recentNames[way];
        if (recent && SameText(recent->localName, localName) && SameText(recent->namespaceURI, namespaceURI))
            return recent;
    }
    auto found = m_names.find(PairKey{localName, namespaceURI});
    if (found == m_names.end()) {
        if (m_names.size() >= kMaxNames) return nullptr;
        found = m_names.emplace(CXmlNodeNamePair{std::u16string(localName), std::u16string(namespaceURI)}).first;
    }
    m_recentNames[key + 1] = m_recentNames[key];
    m_recentNames[key] = &*found;
    return m_recentNames[key];
}

CXmlNodeName CXmlNodePool::MakeName(CXmlNodePool* pool, std::u16string_view localName, std::u16string_view namespaceURI,
                                    const CXmlNodeName* hint) {
    if (localName.empty() && namespaceURI.empty()) return EmptyName();
    if (pool) {
        if (hint && !hint->IsOwned() && SameText(hint->LocalName(), localName) &&
            SameText(hint->NamespaceURI(), namespaceURI))
            return *hint;
        if (const CXmlNodeNamePair* interned = pool->InternName(localName, namespaceURI))
            return CXmlNodeName{reinterpret_cast<uintptr_t>(interned)};
        pool->MarkUnsafe();
    }
    static_assert(alignof(CXmlNodeNamePair) >= 2, "the low bit of a name pointer must be free");
    auto* owned = new CXmlNodeNamePair{std::u16string(localName), std::u16string(namespaceURI)};
    return CXmlNodeName{reinterpret_cast<uintptr_t>(owned) | 1};
}

CXmlNodeName CXmlNodePool::CopyName(CXmlNodeName name) {
    if (!name.IsOwned()) return name;
    return CXmlNodeName{reinterpret_cast<uintptr_t>(new CXmlNodeNamePair(name.Get())) | 1};
}

void CXmlNodePool::DropName(CXmlNodeName name) {
    if (name.IsOwned()) delete &name.Get();
}

} // namespace KvXmlLib16
