#include "platform/HeapPolicy.h"

#include <QTest>

#include <cstdlib>
#include <malloc.h>

class TestHeapPolicy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("the sanitizer's allocator replaces the one the policy tunes");
#endif
        platform::HeapPolicy::returnLargeBlocksPromptly();
    }

    void largeBlocksKeepPagesOfTheirOwnAfterOneIsFreed()
    {
        // The first large block freed is the one after which the allocator would otherwise start
        // taking such blocks from its heap.
        constexpr size_t size = 1024 * 1024;
        void *volatile first = std::malloc(size);
        QVERIFY(first);
        static_cast<char *>(first)[0] = 1;
        std::free(first);

        const size_t before = mallinfo2().hblkhd;
        void *volatile second = std::malloc(size);
        QVERIFY(second);
        static_cast<char *>(second)[size - 1] = 1;
        QVERIFY(mallinfo2().hblkhd >= before + size);
        std::free(second);
        QCOMPARE(mallinfo2().hblkhd, before);
    }

    void smallBlocksStayOnTheHeap()
    {
        const size_t before = mallinfo2().hblkhd;
        void *volatile block = std::malloc(platform::HeapPolicy::largeBlockBytes / 2);
        QVERIFY(block);
        QCOMPARE(mallinfo2().hblkhd, before);
        std::free(block);
    }
};

QTEST_GUILESS_MAIN(TestHeapPolicy)
#include "tst_heappolicy.moc"
