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
    void namesMeanTheseNumbers_data();
    void namesMeanTheseNumbers();
    void defaults();
    void defaultsDoNotDependOnTheMemory();
    void destructorIsVirtual();
    void lastSharedPointerEndsThePart();
    void partHoldsItsChildren();
    void updateDoesNothing();
    void updateIsAHook();
};

void DemoPartTest::namesMeanTheseNumbers_data()
{
    QTest::addColumn<int>("name");
    QTest::addColumn<int>("number");
    QTest::newRow("no face") << int(DemoPart::NoFace) << -1;
    QTest::newRow("coy face") << int(DemoPart::CoyFace) << 0;
    QTest::newRow("tender face") << int(DemoPart::TenderFace) << 1;
    QTest::newRow("jealous face") << int(DemoPart::JealousFace) << 2;
    QTest::newRow("no effect") << int(DemoPart::NoEffect) << -1;
    QTest::newRow("tree") << int(DemoPart::Tree) << 0;
    QTest::newRow("tunnel") << int(DemoPart::Tunnel) << 1;
    QTest::newRow("lattice") << int(DemoPart::Lattice) << 2;
    QTest::newRow("one quad") << int(DemoPart::OneQuad) << 0;
    QTest::newRow("wide copies") << int(DemoPart::WideCopies) << 1;
    QTest::newRow("no fade") << int(DemoPart::NoFade) << 0;
    QTest::newRow("fade in") << int(DemoPart::FadeIn) << 1;
    QTest::newRow("fade out") << int(DemoPart::FadeOut) << 2;
    QTest::newRow("no title") << int(DemoPart::NoTitle) << 0;
    QTest::newRow("painted title") << int(DemoPart::PaintedTitle) << 1;
    QTest::newRow("kept title") << int(DemoPart::KeptTitle) << 2;
}

void DemoPartTest::namesMeanTheseNumbers()
{
    QFETCH(int, name);
    QTEST(name, "number");
}

void DemoPartTest::defaults()
{
    const DemoPart part;
    QVERIFY(part.children.isEmpty());
    // The line is empty, the caption is null.
    QVERIFY(part.text.isEmpty());
    QVERIFY(!part.text.isNull());
    QVERIFY(part.caption.isNull());
    QCOMPARE(part.face, int(DemoPart::NoFace));
    QCOMPARE(part.effect, int(DemoPart::Tree));
    QCOMPARE(part.shader, QString("contrast2"));
    QCOMPARE(part.spread, int(DemoPart::WideCopies));
    QCOMPARE(part.flag, false);
    QCOMPARE(part.fade, int(DemoPart::NoFade));
    QCOMPARE(part.title, int(DemoPart::NoTitle));
    QCOMPARE(part.dimTrails, 1);
    QCOMPARE(part.spare, 1);
}

void DemoPartTest::defaultsDoNotDependOnTheMemory()
{
    alignas(DemoPart) unsigned char memory[sizeof(DemoPart)];
    for (int filling : {0x00, 0xff, 0x5a}) {
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(filling));
        auto* part = new (memory) DemoPart;
        QCOMPARE(part->face, int(DemoPart::NoFace));
        QCOMPARE(part->effect, int(DemoPart::Tree));
        QCOMPARE(part->spread, int(DemoPart::WideCopies));
        QVERIFY(!part->flag);
        QCOMPARE(part->fade, int(DemoPart::NoFade));
        QCOMPARE(part->title, int(DemoPart::NoTitle));
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
    {
        DemoPart part;
        part.children.append(QSharedPointer<DemoPart>(new Witness(ends)));
        QCOMPARE(ends, 0);
    }
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
    part.face = DemoPart::JealousFace;
    part.effect = DemoPart::Tunnel;
    part.shader = "contrast";
    part.spread = 6;
    part.flag = true;
    part.fade = DemoPart::FadeOut;
    part.title = DemoPart::PaintedTitle;
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
