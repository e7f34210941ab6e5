#include <gtest/gtest.h>

#include "support/CountedProbe.h"

#include <thread>
#include <vector>

#include <kvxml/KvXmlLib16.h>

using namespace KvXmlLib16;

namespace {

using Probe = KvTest::CountedProbe;

} // namespace

TEST(RefCount, NewObjectStartsAtZeroAndDiesAtZero) {
    int destroyed = 0;
    Probe* p = new Probe(&destroyed);
    EXPECT_EQ(p->Count(), 0);
    EXPECT_EQ(p->AddRef(), 1);
    EXPECT_EQ(p->Release(), 0);
    EXPECT_EQ(destroyed, 1);
}

TEST(RefCount, ReleaseAtZeroGivesMinusOneAndDestroysNothing) {
    int destroyed = 0;
    Probe p(&destroyed);
    EXPECT_EQ(p.Release(), -1);
    EXPECT_EQ(destroyed, 0);
    p.AddRef();  // back to 0 so the stack object is not touched by anyone else
}

TEST(RefCount, CopiesTakeElementNameAndCount) {
    int destroyed = 0;
    Probe a(&destroyed);
    a.SetElementName(u"order");
    a.AddRef();
    a.AddRef();
    Probe b(a);
    EXPECT_EQ(b.GetElementName(), u"order");
    EXPECT_EQ(b.Count(), 2);
    Probe c(&destroyed);
    c = a;
    EXPECT_EQ(c.Count(), 2);
    CXmlObjectBase::SetElementName(&c, nullptr);
    EXPECT_EQ(c.GetElementName(), u"");
}

TEST(CSmartPtr, TakesAndDropsReferences) {
    int destroyed = 0;
    Probe* p = new Probe(&destroyed);
    {
        CSmartPtr<Probe> first(p);
        EXPECT_EQ(p->Count(), 1);
        {
            CSmartPtr<Probe> second = first;
            EXPECT_EQ(p->Count(), 2);
            CSmartPtr<CXmlObjectBase> asBase(second);
            EXPECT_EQ(p->Count(), 3);
        }
        EXPECT_EQ(p->Count(), 1);
        first = first;  // self-assignment must not destroy
        EXPECT_EQ(destroyed, 0);
        CSmartPtr<Probe> moved(std::move(first));
        EXPECT_TRUE(first.IsNull());
        EXPECT_EQ(p->Count(), 1);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(CSmartPtr, AssignmentCountsNewBeforeReleasingOld) {
    int destroyedA = 0, destroyedB = 0;
    CSmartPtr<Probe> holder(new Probe(&destroyedA));
    holder = new Probe(&destroyedB);
    EXPECT_EQ(destroyedA, 1);
    EXPECT_EQ(destroyedB, 0);
    holder = nullptr;
    EXPECT_EQ(destroyedB, 1);
}

TEST(CSmartPtr, CountIsAtomicAcrossThreads) {
    int destroyed = 0;
    CSmartPtr<Probe> root(new Probe(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&root] {
            for (int i = 0; i < 10000; ++i) { CSmartPtr<Probe> copy(root); }
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(root->Count(), 1);
    EXPECT_EQ(destroyed, 0);
}

TEST(CKVCriticalSection, IsRecursive) {
    CKVCriticalSection cs;
    cs.Enter();
    cs.Enter();
    cs.Leave();
    cs.Leave();
    { CKVCriticalSectionGuard guard(cs); }
    SUCCEED();
}
