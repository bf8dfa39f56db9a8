#include "demo/demopart.h"

#include "demo/demomain.h"
#include "support/fakedeviceinfo.h"
#include "support/logcapture.h"

#include <QTest>
#include <QWidget>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>

namespace {

/// A part that tells of its end.
class Witness : public DemoPart
{
public:
    explicit Witness(int& ends) : m_ends(ends) {}

    ~Witness() override
    {
        m_ends += 1;
    }

    void update(DemoMain&) override
    {
        updates += 1;
    }

    int updates = 0;

private:
    int& m_ends;
};

} // namespace

class DemoPartTest : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void defaultsDoNotDependOnTheMemory();
    void destructorIsVirtual();
    void lastSharedPointerEndsThePart();
    void partHoldsItsChildren();
    void updateDoesNothing();
    void updateIsAHook();
};

void DemoPartTest::defaults()
{
    const DemoPart part;
    QVERIFY(part.children.isEmpty());
    // A line that is empty, and a caption that is not there at all.
    QVERIFY(part.text.isEmpty());
    QVERIFY(!part.text.isNull());
    QVERIFY(part.caption.isNull());
    QCOMPARE(part.face, -1);
    QCOMPARE(part.effect, 0);
    QCOMPARE(part.shader, QString("contrast2"));
    QCOMPARE(part.spread, 1);
    QCOMPARE(part.flag, false);
    QCOMPARE(part.fade, 0);
    QCOMPARE(part.title, 0);
    QCOMPARE(part.dimTrails, 1);
    QCOMPARE(part.spare, 1);
}

void DemoPartTest::defaultsDoNotDependOnTheMemory()
{
    alignas(DemoPart) unsigned char memory[sizeof(DemoPart)];
    for (int filling : {0x00, 0xff, 0x5a}) {
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(filling));
        auto* part = new (memory) DemoPart;
        QCOMPARE(part->face, -1);
        QCOMPARE(part->effect, 0);
        QCOMPARE(part->spread, 1);
        QVERIFY(!part->flag);
        QCOMPARE(part->fade, 0);
        QCOMPARE(part->title, 0);
        QCOMPARE(part->dimTrails, 1);
        QCOMPARE(part->spare, 1);
        part->~DemoPart();
    }
}

void DemoPartTest::destructorIsVirtual()
{
    QVERIFY(std::has_virtual_destructor<DemoPart>::value);
    int ends = 0;
    // Not a shared pointer of Qt's: that one remembers the class it was made with.
    std::unique_ptr<DemoPart> part(new Witness(ends));
    part.reset();
    QCOMPARE(ends, 1);
}

void DemoPartTest::lastSharedPointerEndsThePart()
{
    int ends = 0;
    QVector<QSharedPointer<DemoPart>> parts;
    parts.append(QSharedPointer<DemoPart>(new Witness(ends)));
    QVector<QSharedPointer<DemoPart>> kept = parts;
    parts.clear();
    QCOMPARE(ends, 0);
    kept.clear();
    QCOMPARE(ends, 1);
}

void DemoPartTest::partHoldsItsChildren()
{
    int ends = 0;
    auto part = std::make_unique<DemoPart>();
    part->children.append(QSharedPointer<DemoPart>(new Witness(ends)));
    QCOMPARE(ends, 0);
    part.reset();
    QCOMPARE(ends, 1);
}

void DemoPartTest::updateDoesNothing()
{
    LogCapture log;
    QWidget widget;
    DemoMain demo(&widget);
    log.clear();
    DemoPart part;
    part.text = "text";
    part.caption = "caption";
    part.face = 2;
    part.effect = 1;
    part.shader = "contrast";
    part.spread = 6;
    part.flag = true;
    part.fade = 2;
    part.title = 1;
    part.dimTrails = 0;
    part.spare = 2;
    const DemoPart before = part;
    qsrand(70);
    const int expected = qrand();
    qsrand(70);
    part.update(demo);
    const int next = qrand();
    QCOMPARE(next, expected);
    QVERIFY(part.children.isEmpty());
    QCOMPARE(part.text, before.text);
    QCOMPARE(part.caption, before.caption);
    QCOMPARE(part.face, before.face);
    QCOMPARE(part.effect, before.effect);
    QCOMPARE(part.shader, before.shader);
    QCOMPARE(part.spread, before.spread);
    QCOMPARE(part.flag, before.flag);
    QCOMPARE(part.fade, before.fade);
    QCOMPARE(part.title, before.title);
    QCOMPARE(part.dimTrails, before.dimTrails);
    QCOMPARE(part.spare, before.spare);
    QCOMPARE(log.lines(), QStringList());
}

void DemoPartTest::updateIsAHook()
{
    LogCapture log;
    QWidget widget;
    DemoMain demo(&widget);
    int ends = 0;
    Witness witness(ends);
    DemoPart& part = witness;
    part.update(demo);
    QCOMPARE(witness.updates, 1);
}

QTEST_MAIN(DemoPartTest)
#include "demoparttest.moc"
