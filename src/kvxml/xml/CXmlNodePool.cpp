#include "kvxml/xml/CXmlNodePool.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace KvXmlLib16 {

namespace {

// In front of each block: its pool, or null for a block of the heap.
struct BlockHeader {
    CXmlNodePool* pool;
};
static_assert(sizeof(BlockHeader) == 8);

} // namespace

struct CXmlNodePool::Slab {
    Slab* next;
};

CXmlNodePool::CXmlNodePool()
    : m_slabs(nullptr), m_cursor(nullptr), m_end(nullptr), m_freeLists{}, m_references(0),
      m_nextSlabSize(kFirstSlabSize), m_attached(true), m_recentNames{} {}

CXmlNodePool::~CXmlNodePool() { ReleaseSlabs(); }

CXmlNodePool* CXmlNodePool::Create() { return new CXmlNodePool(); }

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

size_t CXmlNodePool::BlockSize(size_t size) {
    return (sizeof(BlockHeader) + size + kGranule - 1) / kGranule * kGranule;
}

void* CXmlNodePool::Allocate(size_t size, CXmlNodePool* pool) {
    const size_t blockSize = BlockSize(size);
    if (pool && blockSize / kGranule < kSlots) return pool->AllocateBlock(blockSize);
    void* memory = std::malloc(sizeof(BlockHeader) + size);
    if (!memory) throw std::bad_alloc();
    auto* header = static_cast<BlockHeader*>(memory);
    header->pool = nullptr;
    return header + 1;
}

void* CXmlNodePool::AllocateBlock(size_t blockSize) {
    const size_t slot = blockSize / kGranule;
    void* block = m_freeLists[slot];
    if (block) {
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
        }
        block = m_cursor;
        m_cursor += blockSize;
    }
    auto* header = static_cast<BlockHeader*>(block);
    header->pool = this;
    ++m_references;
    return header + 1;
}

void CXmlNodePool::Free(void* block, size_t size) {
    if (!block) return;
    BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
    if (header->pool)
        header->pool->FreeBlock(header, BlockSize(size));
    else
        std::free(header);
}

void CXmlNodePool::FreeBlock(void* header, size_t blockSize) {
    const size_t slot = blockSize / kGranule;
    *static_cast<void**>(header) = m_freeLists[slot];
    m_freeLists[slot] = header;
    Release();
}

void CXmlNodePool::Release() {
    if (--m_references == 0 && !m_attached) delete this;
}

void CXmlNodePool::Detach() {
    m_attached = false;
    if (m_references == 0) delete this;
}

void CXmlNodePool::Trim() {
    if (m_references != 0) return;
    ReleaseSlabs();
    for (const std::u16string*& name : m_recentNames) name = nullptr;
    m_names.clear();
}

const std::u16string& CXmlNodePool::EmptyString() {
    static const std::u16string empty;
    return empty;
}

const std::u16string* CXmlNodePool::Intern(std::u16string_view text) {
    const size_t size = text.size();
    const size_t key = (size * 7 + text[0] + text[size / 2] * 5 + text[size - 1] * 3) % kRecentNames;
    const std::u16string* recent = m_recentNames[key];
    if (recent && recent->size() == size && std::memcmp(recent->data(), text.data(), size * sizeof(char16_t)) == 0)
        return recent;
    auto found = m_names.find(text);
    if (found == m_names.end()) found = m_names.emplace(text).first;
    m_recentNames[key] = &*found;
    return m_recentNames[key];
}

const std::u16string* CXmlNodePool::MakeName(CXmlNodePool* pool, std::u16string_view text) {
    if (text.empty()) return &EmptyString();
    if (pool) return pool->Intern(text);
    return new std::u16string(text);
}

const std::u16string* CXmlNodePool::CopyName(CXmlNodePool* pool, const std::u16string* name) {
    if (pool || name == &EmptyString()) return name;
    return new std::u16string(*name);
}

void CXmlNodePool::DropName(CXmlNodePool* pool, const std::u16string* name) {
    if (!pool && name != &EmptyString()) delete name;
}

} // namespace KvXmlLib16
