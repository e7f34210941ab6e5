#include "kvxml/xml/CXmlNodePool.h"

#include <cstdlib>
#include <cstring>
#include <new>

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
    Slab* next;
};

CXmlNodePool::CXmlNodePool(CXmlDocument* document)
    : m_document(document),
      m_slabs(nullptr),
      m_cursor(nullptr),
      m_end(nullptr),
      m_freeLists{},
      m_references(0),
      m_nextSlabSize(kFirstSlabSize),
      m_attached(true),
      m_recentTexts{},
      m_recentNames{} {}

CXmlNodePool::~CXmlNodePool() { ReleaseSlabs(); }

CXmlNodePool* CXmlNodePool::Create(CXmlDocument* document) { return new CXmlNodePool(document); }

void CXmlNodePool::ReleaseSlabs() {
    while (m_slabs) {
        Slab* next = m_slabs->next;
        std::free(m_slabs);
        m_slabs = next;
    }
    m_cursor = m_end = nullptr;
    m_nextSlabSize = kFirstSlabSize;
    for (void*& list : m_freeLists) list = nullptr;
}

void* CXmlNodePool::Allocate(size_t size, CXmlNodePool* pool) {
    if (pool && Pooled(size)) return pool->AllocateBlock(BlockSize(size));
    void* memory = std::malloc(size != 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void* CXmlNodePool::AllocateBlock(size_t blockSize) {
    const size_t slot = blockSize / kGranule;
    void* block = m_freeLists[slot];
    if (block) {
        KVXML_UNPOISON(block, blockSize);
        m_freeLists[slot] = *static_cast<void**>(block);
    } else {
        if (static_cast<size_t>(m_end - m_cursor) < blockSize) {
            // The tail of the old slab is abandoned: less than one block.
            const size_t slabSize = m_nextSlabSize;
            auto* slab = static_cast<Slab*>(std::malloc(slabSize));
            if (!slab) throw std::bad_alloc();
            slab->next = m_slabs;
            m_slabs = slab;
            m_cursor = reinterpret_cast<unsigned char*>(slab) + sizeof(Slab);
            m_end = reinterpret_cast<unsigned char*>(slab) + slabSize;
            if (m_nextSlabSize < kLargestSlabSize) m_nextSlabSize *= 2;
            KVXML_POISON(m_cursor, static_cast<size_t>(m_end - m_cursor));
        }
        block = m_cursor;
        m_cursor += blockSize;
        KVXML_UNPOISON(block, blockSize);
    }
    ++m_references;
    return block;
}

void CXmlNodePool::Free(void* block, size_t size, CXmlNodePool* pool) {
    if (!block) return;
    if (pool && Pooled(size))
        pool->FreeBlock(block, BlockSize(size));
    else
        std::free(block);
}

void CXmlNodePool::FreeBlock(void* block, size_t blockSize) {
    const size_t slot = blockSize / kGranule;
    *static_cast<void**>(block) = m_freeLists[slot];
    m_freeLists[slot] = block;
    KVXML_POISON(block, blockSize);
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

void CXmlNodePool::Trim() {
    if (m_references != 0) return;
    ReleaseSlabs();
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
    return held.size() == text.size() && std::memcmp(held.data(), text.data(), text.size() * sizeof(char16_t)) == 0;
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

CXmlNodeName CXmlNodePool::MakeName(CXmlNodePool* pool, std::u16string_view localName,
                                    std::u16string_view namespaceURI, const CXmlNodeName* hint) {
    if (localName.empty() && namespaceURI.empty()) return EmptyName();
    if (pool) {
        if (hint && !hint->IsOwned() && SameText(hint->LocalName(), localName) &&
            SameText(hint->NamespaceURI(), namespaceURI))
            return *hint;
        if (const CXmlNodeNamePair* interned = pool->InternName(localName, namespaceURI))
            return CXmlNodeName{reinterpret_cast<uintptr_t>(interned)};
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
