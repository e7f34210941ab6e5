#include <gtest/gtest.h>

#include "support/CountedProbe.h"

#include <thread>
#include <vector>

#include <kvxml/KvXmlLib16.h>

using namespace KvXmlLib16;

namespace {

using Probe = KvTest::CountedProbe;

} // namespace

TEST(RefCount, CountStartsAtZeroAndIsCopiedWithTheName) {
    int destroyed = 0;
    Probe* p = new Probe(&destroyed);
    EXPECT_EQ(p->Count(), 0);
    EXPECT_EQ(p->AddRef(), 1);
    EXPECT_EQ(p->Release(), 0);
    EXPECT_EQ(destroyed, 1);

    Probe a(&destroyed);
    EXPECT_EQ(a.Release(), -1);
    EXPECT_EQ(destroyed, 1);
    a.SetElementName(u"order");
    a.AddRef();
    a.AddRef();
    a.AddRef();
    Probe b(a);
    Probe c;
    c = a;
    EXPECT_EQ(b.GetElementName(), u"order");
    EXPECT_EQ(b.Count(), 2);
    EXPECT_EQ(c.Count(), 2);
    CXmlObjectBase::SetElementName(&c, nullptr);
    EXPECT_EQ(c.GetElementName(), u"");
}

TEST(CSmartPtr, TakesAndDropsReferences) {
    int destroyed = 0, destroyedB = 0;
    Probe* p = new Probe(&destroyed);
    {
        CSmartPtr<Probe> first(p);
        {
            CSmartPtr<Probe> second = first;
            CSmartPtr<CXmlObjectBase> asBase(second);
            EXPECT_EQ(p->Count(), 3);
        }
        first = first;
        EXPECT_EQ(p->Count(), 1);
        CSmartPtr<Probe> moved(std::move(first));
        EXPECT_TRUE(first.IsNull());
        EXPECT_EQ(destroyed, 0);
        moved = new Probe(&destroyedB);  // the old object goes once the new one is held
        EXPECT_EQ(destroyed, 1);
        moved = nullptr;
        EXPECT_EQ(destroyedB, 1);
    }

    CSmartPtr<Probe> root(new Probe(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&root] {
            for (int i = 0; i < 10000; ++i) CSmartPtr<Probe> copy(root);
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(root->Count(), 1);
}

TEST(CKVCriticalSection, IsRecursive) {
    CKVCriticalSection cs;
    cs.Enter();
    { CKVCriticalSectionGuard guard(cs); }
    cs.Leave();
}
