#include "logging/FreeMemory.h"

#include <QtCore/QList>
#include <QtTest/QTest>

#include <malloc/malloc.h>
#include <utility>

namespace {

QList<std::pair<malloc_zone_t*, std::size_t>> gCalls;
std::size_t gFreed = 0;

} // namespace

std::size_t malloc_zone_pressure_relief(malloc_zone_t* zone, std::size_t goal)
{
    gCalls.append({zone, goal});
    return gFreed;
}

class tst_FreeMemoryCalls : public QObject
{
    Q_OBJECT

private slots:
    // Every zone, and as much as there is.
    void returnToSystem_data()
    {
        QTest::addColumn<quint64>("freed");
        QTest::newRow("nothing to return") << quint64(0);
        QTest::newRow("a megabyte returned") << quint64(1 << 20);
    }
    void returnToSystem()
    {
        QFETCH(quint64, freed);
        gCalls.clear();
        gFreed = freed;
        FreeMemory::ReturnToSystem();
        QCOMPARE(gCalls.size(), 1);
        QCOMPARE(gCalls.first().first, static_cast<malloc_zone_t*>(nullptr));
        QCOMPARE(gCalls.first().second, std::size_t(0));
    }
};

QTEST_APPLESS_MAIN(tst_FreeMemoryCalls)

#include "tst_FreeMemoryCalls.moc"
