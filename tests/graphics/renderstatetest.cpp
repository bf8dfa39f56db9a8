#include "graphics/renderstate.h"

#include <QTest>

using namespace graphics;

class RenderStateTest : public QObject
{
    Q_OBJECT

private slots:
    void startsPlain();
    void keepsEachByItself();
    void blendingValues();
};

void RenderStateTest::startsPlain()
{
    const RenderState state;
    QCOMPARE(state.blending(), BlendNone);
    QCOMPARE(state.coloring(), ColoringDefault);
}

void RenderStateTest::keepsEachByItself()
{
    RenderState state;
    state.setBlending(BlendInvertAdd);
    QCOMPARE(state.coloring(), ColoringDefault);
    state.setColoring(static_cast<ColoringType>(7));
    QCOMPARE(state.blending(), BlendInvertAdd);
    QCOMPARE(static_cast<int>(state.coloring()), 7);
    const RenderState copy = state;
    state.setBlending(BlendAlpha);
    QCOMPARE(copy.blending(), BlendInvertAdd);
    QCOMPARE(state.blending(), BlendAlpha);
}

void RenderStateTest::blendingValues()
{
    // The script of the show writes them as numbers.
    QCOMPARE(static_cast<int>(BlendNone), 0);
    QCOMPARE(static_cast<int>(BlendAlpha), 1);
    QCOMPARE(static_cast<int>(BlendAdditive), 2);
    QCOMPARE(static_cast<int>(BlendInvertAdd), 3);
}

QTEST_GUILESS_MAIN(RenderStateTest)
#include "renderstatetest.moc"
