#include "effects/radialeffect_p.h"

#include "demo/demomain.h"
#include "effects/paintrecorder.h"
#include "effects/randomdraws.h"

#include <QPainter>
#include <QSet>
#include <QTest>
#include <QWidget>

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

using radial::Node;

namespace {

/// The tree a second time, in plain numbers and in the order in which the draws must fall. It keeps
/// places and directions as narrow as the product does, since a short segment far from the centre
/// turns what is lost there into an angle.
struct Joint
{
    float x = 0.0f;
    float y = 0.0f;
    float toX = 1.0f;
    float toY = 0.0f;
    std::vector<Joint> children;

    double heading() const
    {
        return std::atan2(static_cast<double>(toX), static_cast<double>(-toY));
    }

    void sprout(double heading)
    {
        const int length = 3 + qrand() % 20;
        Joint child;
        child.x = static_cast<float>(x + length * std::sin(heading));
        child.y = static_cast<float>(y - length * std::cos(heading));
        const double spanX = static_cast<double>(child.x) - x;
        const double spanY = static_cast<double>(child.y) - y;
        const double span = std::hypot(spanX, spanY);
        child.toX = static_cast<float>(spanX / span);
        child.toY = static_cast<float>(spanY / span);
        children.push_back(child);
    }

    void growFan(int count, double spread)
    {
        if (children.empty()) {
            const double turn = 2.0 + 0.2 * ((qrand() % 10000) / 10000.0);
            const double middle = heading();
            for (int i = 0; i < count; ++i) {
                sprout(middle + turn * spread * (0.5 * i - 0.25));
            }
            return;
        }
        for (Joint& child : children) {
            const int passedOn = qrand() % 2 + (spread > 0.3 ? 1 : 0);
            if (passedOn > 0) {
                child.growFan(passedOn, spread / passedOn);
            }
        }
    }

    void creepBack()
    {
        if (children.empty()) {
            return;
        }
        const double step = 0.005 * std::hypot(static_cast<double>(x), static_cast<double>(y));
        x = static_cast<float>(x - toX * step);
        y = static_cast<float>(y - toY * step);
        for (Joint& child : children) {
            child.creepBack();
        }
    }
};

struct Tree
{
    Joint root;
    int steps = 0;

    void frame()
    {
        root.creepBack();
        steps += 1;
        if (steps > 12) {
            return;
        }
        const int first = qrand();
        if (root.children.empty()) {
            const double turn = 2.0 + 0.2 * ((qrand() % 10000) / 10000.0);
            const double left = root.heading() - 1.57 * turn;
            root.sprout(left);
            if (first % 2 == 1) {
                root.children.reserve(2);
                root.sprout(left + 3.14 * turn);
            }
        } else {
            for (Joint& child : root.children) {
                const int count = 1 + qrand() % 2;
                child.growFan(count, 6.28 / count);
            }
        }
        if (steps == 1) {
            frame();
        }
    }
};

/// Where the tree of the show differs from the expected one; empty when it does not.
QString difference(const Node& node, const Joint& joint, const QString& path = "root")
{
    if (std::abs(node.position.x() - joint.x) > 1e-4f ||
        std::abs(node.position.y() - joint.y) > 1e-4f) {
        return QString("%1 is at (%2, %3), not at (%4, %5)")
            .arg(path)
            .arg(static_cast<double>(node.position.x()))
            .arg(static_cast<double>(node.position.y()))
            .arg(static_cast<double>(joint.x))
            .arg(static_cast<double>(joint.y));
    }
    if (node.branches.size() != static_cast<int>(joint.children.size())) {
        return QString("%1 has %2 branches, not %3")
            .arg(path)
            .arg(node.branches.size())
            .arg(joint.children.size());
    }
    for (int i = 0; i < node.branches.size(); ++i) {
        const QString below = difference(node.branches.at(i), joint.children[std::size_t(i)],
                                         QString("%1.%2").arg(path).arg(i));
        if (!below.isEmpty()) {
            return below;
        }
    }
    return QString();
}

int joints(const Node& node)
{
    int count = 1;
    for (const Node& branch : node.branches) {
        count += joints(branch);
    }
    return count;
}

void collectTips(const Node& node, QVector<QVector2D>& tips)
{
    if (node.branches.isEmpty()) {
        tips.append(node.position);
    }
    for (const Node& branch : node.branches) {
        collectTips(branch, tips);
    }
}

void collectSegments(const Node& node, QVector<QLineF>& segments)
{
    for (const Node& branch : node.branches) {
        segments.append(QLineF(node.position.toPointF(), branch.position.toPointF()));
        collectSegments(branch, segments);
    }
}

Node nodeAt(float x, float y, const QVector2D& direction)
{
    Node node;
    node.position = QVector2D(x, y);
    node.direction = direction;
    return node;
}

double headingOf(const Node& node)
{
    return std::atan2(static_cast<double>(node.direction.x()),
                      static_cast<double>(-node.direction.y()));
}

QVector<QLineF> rendered(RadialEffect& effect)
{
    PaintRecorder recorder;
    QPainter painter(&recorder);
    effect.render(painter);
    QVector<QLineF> lines;
    for (const PaintRecorder::Line& line : qAsConst(recorder.lines)) {
        lines.append(line.line);
    }
    return lines;
}

} // namespace

class RadialEffectTest : public QObject
{
    Q_OBJECT

private slots:
    void constructorLeavesTheSequenceAtSeed100();
    void constructorEndsOneStepShortOfGrown();
    void freshEffectGrowsOneStepOnly();

    void resetEmptiesTheTree();
    void resetKeepsTheDirection();
    void treeGrowsFromTheKeptDirection();

    void firstFrameGrowsTwoSteps_data();
    void firstFrameGrowsTwoSteps();
    void firstBranchesLeaveSideBySide();
    void growthEndsAfterElevenFrames_data();
    void growthEndsAfterElevenFrames();
    void treeFollowsTheDraws_data();
    void treeFollowsTheDraws();
    void treesOfOneSeedAreIdentical();

    void tipDraws_data();
    void tipDraws();
    void tipFan_data();
    void tipFan();
    void segmentsAreThreeToTwentyTwoLong();
    void jointPassesGrowthOn_data();
    void jointPassesGrowthOn();
    void growthGoesDownManyLevels_data();
    void growthGoesDownManyLevels();

    void jointCreepsBack_data();
    void jointCreepsBack();
    void tipStays();
    void rootCreepsBackToo();
    void tipsOfAGrownTreeNeverMove();

    void segmentsAreDrawnDepthFirst();
    void everyJointIsDrawnOnce();
    void counterGrowsByTheSegmentsBelow();
    void painterIsLeftAsItWas();

    void updateDoesNothing();
    void deletingThePartFreesTheTree();
};

void RadialEffectTest::constructorLeavesTheSequenceAtSeed100()
{
    qsrand(5);
    RadialEffect effect;
    const int next = qrand();
    QCOMPARE(next, drawAfter(100, 0));
}

void RadialEffectTest::constructorEndsOneStepShortOfGrown()
{
    // Ten frames of growth are spent, the first of which counts twice.
    RadialEffect effect;
    QCOMPARE(effect.d->steps, 11);
    QVERIFY(effect.d->root.branches.isEmpty());
    QCOMPARE(effect.d->root.position, QVector2D(0.0f, 0.0f));
    QCOMPARE(effect.d->root.direction, QVector2D(1.0f, 0.0f));
    QVERIFY(!effect.d->root.color.isValid());
    QCOMPARE(effect.shader, QString("contrast2"));
}

void RadialEffectTest::freshEffectGrowsOneStepOnly()
{
    RadialEffect effect;
    effect.addBranches();
    QCOMPARE(effect.d->steps, 12);
    const int grown = joints(effect.d->root);
    QVERIFY(grown == 2 || grown == 3);
    effect.addBranches();
    QCOMPARE(joints(effect.d->root), grown);
}

void RadialEffectTest::resetEmptiesTheTree()
{
    RadialEffect effect;
    effect.reset();
    effect.addBranches();
    QVERIFY(!rendered(effect).isEmpty());
    effect.d->root.position = QVector2D(3.0f, 4.0f);
    qsrand(8);
    effect.reset();
    const int next = qrand();
    QCOMPARE(next, drawAfter(8, 0));
    QCOMPARE(effect.d->steps, 0);
    QCOMPARE(effect.d->root.position, QVector2D(0.0f, 0.0f));
    QCOMPARE(rendered(effect), QVector<QLineF>());
}

void RadialEffectTest::resetKeepsTheDirection()
{
    RadialEffect effect;
    effect.d->root.direction = QVector2D(0.0f, -1.0f);
    effect.reset();
    QCOMPARE(effect.d->root.direction, QVector2D(0.0f, -1.0f));
}

void RadialEffectTest::treeGrowsFromTheKeptDirection()
{
    Tree expected;
    expected.root.toX = 0.6f;
    expected.root.toY = -0.8f;
    qsrand(12);
    expected.frame();

    RadialEffect effect;
    effect.d->root.direction = QVector2D(0.6f, -0.8f);
    effect.reset();
    qsrand(12);
    effect.addBranches();
    QCOMPARE(difference(effect.d->root, expected.root), QString());
}

void RadialEffectTest::firstFrameGrowsTwoSteps_data()
{
    QTest::addColumn<unsigned int>("seed");
    for (unsigned int seed : {2u, 3u, 100u, 32451u}) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void RadialEffectTest::firstFrameGrowsTwoSteps()
{
    QFETCH(unsigned int, seed);
    RadialEffect effect;
    effect.reset();
    qsrand(seed);
    effect.addBranches();
    QCOMPARE(effect.d->steps, 2);
    const QVector<Node>& first = effect.d->root.branches;
    QVERIFY(first.size() == 1 || first.size() == 2);
    for (const Node& branch : first) {
        QVERIFY(branch.branches.size() == 1 || branch.branches.size() == 2);
        for (const Node& tip : branch.branches) {
            QVERIFY(tip.branches.isEmpty());
        }
    }
}

void RadialEffectTest::firstBranchesLeaveSideBySide()
{
    RadialEffect effect;
    bool sawTwo = false;
    bool sawOne = false;
    for (unsigned int seed = 2; seed < 200; ++seed) {
        effect.reset();
        // A step before the last, so that the first growth is not followed by a second at once.
        effect.d->steps = 10;
        qsrand(seed);
        effect.addBranches();
        const QVector<Node>& first = effect.d->root.branches;
        QVERIFY(first.at(0).direction.x() < 0.0f);
        if (first.size() == 1) {
            sawOne = true;
            continue;
        }
        sawTwo = true;
        QVERIFY(first.at(1).direction.x() < 0.0f);
        // Nearly a full turn lies between them.
        const double apart = 2.0 * M_PI - (headingOf(first.at(1)) - headingOf(first.at(0)));
        const double between = std::remainder(apart, 2.0 * M_PI);
        QVERIFY(std::abs(between) < 0.64);
    }
    QVERIFY(sawOne && sawTwo);
}

void RadialEffectTest::growthEndsAfterElevenFrames_data()
{
    firstFrameGrowsTwoSteps_data();
}

void RadialEffectTest::growthEndsAfterElevenFrames()
{
    QFETCH(unsigned int, seed);
    RadialEffect effect;
    effect.reset();
    qsrand(seed);
    for (int i = 0; i < 10; ++i) {
        effect.addBranches();
    }
    QCOMPARE(effect.d->steps, 11);
    effect.addBranches();
    QCOMPARE(effect.d->steps, 12);

    const int grown = joints(effect.d->root);
    QVERIFY(grown <= 8191);
    qsrand(seed);
    for (int i = 0; i < 20; ++i) {
        effect.addBranches();
    }
    const int next = qrand();
    QCOMPARE(next, drawAfter(seed, 0));
    QCOMPARE(effect.d->steps, 32);
    QCOMPARE(joints(effect.d->root), grown);
}

void RadialEffectTest::treeFollowsTheDraws_data()
{
    QTest::addColumn<unsigned int>("seed");
    QTest::addColumn<int>("frames");
    for (unsigned int seed : {2u, 7u, 100u, 999u, 32451u}) {
        for (int frames : {1, 2, 5, 10, 11, 12, 60}) {
            QTest::addRow("seed %u, %i frames", seed, frames) << seed << frames;
        }
    }
}

void RadialEffectTest::treeFollowsTheDraws()
{
    QFETCH(unsigned int, seed);
    QFETCH(int, frames);
    Tree expected;
    qsrand(seed);
    for (int i = 0; i < frames; ++i) {
        expected.frame();
    }
    const int next = qrand();

    RadialEffect effect;
    effect.reset();
    qsrand(seed);
    for (int i = 0; i < frames; ++i) {
        effect.addBranches();
    }
    QCOMPARE(qrand(), next);
    QCOMPARE(effect.d->steps, expected.steps);
    QCOMPARE(difference(effect.d->root, expected.root), QString());
}

void RadialEffectTest::treesOfOneSeedAreIdentical()
{
    RadialEffect one;
    RadialEffect two;
    for (RadialEffect* effect : {&one, &two}) {
        effect->reset();
        qsrand(77);
        for (int i = 0; i < 15; ++i) {
            effect->addBranches();
        }
    }
    const QVector<QLineF> lines = rendered(one);
    QVERIFY(lines.size() > 12);
    QCOMPARE(rendered(two), lines);

    one.reset();
    qsrand(78);
    for (int i = 0; i < 15; ++i) {
        one.addBranches();
    }
    QVERIFY(rendered(one) != lines);
}

void RadialEffectTest::tipDraws_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("draws");
    // The factor of the angle is drawn even where no child needs it.
    QTest::newRow("less than none") << -1 << 1;
    QTest::newRow("none") << 0 << 1;
    QTest::newRow("one") << 1 << 2;
    QTest::newRow("two") << 2 << 3;
    QTest::newRow("five") << 5 << 6;
}

void RadialEffectTest::tipDraws()
{
    QFETCH(int, count);
    QFETCH(int, draws);
    Node tip = nodeAt(0.0f, -10.0f, QVector2D(0.0f, -1.0f));
    qsrand(31);
    tip.addBranches(count, 1.0f);
    const int next = qrand();
    QCOMPARE(next, drawAfter(31, draws));
    QCOMPARE(tip.branches.size(), qMax(0, count));
}

void RadialEffectTest::tipFan_data()
{
    QTest::addColumn<QVector2D>("direction");
    QTest::addColumn<int>("count");
    QTest::addColumn<float>("spread");
    QTest::newRow("one, up") << QVector2D(0.0f, -1.0f) << 1 << 0.5f;
    QTest::newRow("two, up") << QVector2D(0.0f, -1.0f) << 2 << 0.5f;
    QTest::newRow("one, right") << QVector2D(1.0f, 0.0f) << 1 << 0.5f;
    QTest::newRow("two, right") << QVector2D(1.0f, 0.0f) << 2 << 0.5f;
    QTest::newRow("three, right and down") << QVector2D(0.6f, 0.8f) << 3 << 0.25f;
}

void RadialEffectTest::tipFan()
{
    QFETCH(QVector2D, direction);
    QFETCH(int, count);
    QFETCH(float, spread);
    Node tip = nodeAt(5.0f, 6.0f, direction);
    qsrand(4);
    tip.addBranches(count, spread);
    qsrand(4);
    const double turn = 2.0 + 0.2 * ((qrand() % 10000) / 10000.0);
    for (int i = 0; i < count; ++i) {
        const Node& child = tip.branches.at(i);
        const int length = qrand() % 20 + 3;
        const QVector2D span = child.position - tip.position;
        QVERIFY(std::abs(span.length() - length) < 1e-4f);
        QVERIFY(std::abs(child.direction.length() - 1.0f) < 1e-5f);
        QVERIFY((child.direction * length - span).length() < 1e-4f);
        QVERIFY(!child.color.isValid());
        // The first leans to the smaller angle, a second one as far to the other side.
        const double leaning = std::remainder(headingOf(child) - headingOf(tip), 2.0 * M_PI);
        const double expected =
            turn * static_cast<double>(spread) * (i == 0 ? -0.25 : -0.25 + 0.5 * i);
        QVERIFY2(std::abs(leaning - expected) < 1e-4,
                 qPrintable(QString("%1 instead of %2").arg(leaning).arg(expected)));
    }
}

void RadialEffectTest::segmentsAreThreeToTwentyTwoLong()
{
    QSet<int> lengths;
    for (unsigned int seed = 1; seed < 1000; ++seed) {
        Node tip = nodeAt(0.0f, 0.0f, QVector2D(1.0f, 0.0f));
        qsrand(seed);
        tip.addBranches(2, 1.0f);
        for (const Node& child : qAsConst(tip.branches)) {
            const float length = child.position.length();
            QVERIFY(std::abs(length - std::round(length)) < 1e-4f);
            lengths.insert(static_cast<int>(std::round(length)));
        }
    }
    QSet<int> expected;
    for (int length = 3; length <= 22; ++length) {
        expected.insert(length);
    }
    QCOMPARE(lengths, expected);
}

void RadialEffectTest::jointPassesGrowthOn_data()
{
    QTest::addColumn<float>("spread");
    QTest::addColumn<int>("least");
    // At the edge the comparison is with the double 0.3, which the nearest float is above.
    QTest::newRow("wide") << 1.0f << 1;
    QTest::newRow("just above") << 0.3f << 1;
    QTest::newRow("just below") << std::nextafter(0.3f, 0.0f) << 0;
    QTest::newRow("narrow") << 0.1f << 0;
}

void RadialEffectTest::jointPassesGrowthOn()
{
    QFETCH(float, spread);
    QFETCH(int, least);
    QSet<int> counts;
    for (unsigned int seed = 1; seed < 100; ++seed) {
        Node joint = nodeAt(0.0f, 0.0f, QVector2D(0.0f, -1.0f));
        joint.branches.append(nodeAt(0.0f, -10.0f, QVector2D(0.0f, -1.0f)));
        qsrand(seed);
        const int passedOn = qrand() % 2 + least;
        qsrand(seed);
        // The count that comes in is for tips only.
        joint.addBranches(7, spread);
        const int grown = joint.branches.at(0).branches.size();
        QCOMPARE(grown, passedOn);
        // Its own draw, and, where there is growth, the factor and a length each.
        const int next = qrand();
        QCOMPARE(next, drawAfter(seed, grown == 0 ? 1 : 2 + grown));
        counts.insert(grown);
    }
    const QSet<int> expected = {least, least + 1};
    QCOMPARE(counts, expected);
}

void RadialEffectTest::growthGoesDownManyLevels_data()
{
    QTest::addColumn<float>("spread");
    QTest::newRow("wide fan, halved for two") << 3.14f;
    QTest::newRow("halved to narrow") << 0.5f;
    QTest::newRow("narrow") << 0.2f;
}

void RadialEffectTest::growthGoesDownManyLevels()
{
    QFETCH(float, spread);
    for (unsigned int seed = 1; seed < 50; ++seed) {
        // Three levels below the joint, so that growth has to be passed on twice.
        Joint expected;
        Node joint = nodeAt(0.0f, 0.0f, QVector2D(1.0f, 0.0f));
        qsrand(seed);
        expected.growFan(2, 1.0);
        for (int i = 0; i < 2; ++i) {
            expected.growFan(2, 1.0);
        }
        for (int i = 0; i < 3; ++i) {
            expected.growFan(1, static_cast<double>(spread));
        }
        const int next = qrand();

        qsrand(seed);
        joint.addBranches(2, 1.0f);
        for (int i = 0; i < 2; ++i) {
            joint.addBranches(2, 1.0f);
        }
        for (int i = 0; i < 3; ++i) {
            joint.addBranches(1, spread);
        }
        QCOMPARE(qrand(), next);
        QCOMPARE(difference(joint, expected), QString());
    }
}

void RadialEffectTest::jointCreepsBack_data()
{
    QTest::addColumn<QVector2D>("position");
    QTest::addColumn<QVector2D>("direction");
    QTest::addColumn<QVector2D>("moved");
    QTest::newRow("100 to the right")
        << QVector2D(100.0f, 0.0f) << QVector2D(1.0f, 0.0f) << QVector2D(99.5f, 0.0f);
    QTest::newRow("100 down") << QVector2D(0.0f, 100.0f) << QVector2D(0.0f, 1.0f)
                              << QVector2D(0.0f, 99.5f);
    // Along its own direction, not towards the centre; by the distance before the move.
    QTest::newRow("100 away, aslant")
        << QVector2D(60.0f, 80.0f) << QVector2D(0.8f, -0.6f) << QVector2D(59.6f, 80.3f);
    QTest::newRow("in the centre")
        << QVector2D(0.0f, 0.0f) << QVector2D(1.0f, 0.0f) << QVector2D(0.0f, 0.0f);
}

void RadialEffectTest::jointCreepsBack()
{
    QFETCH(QVector2D, position);
    QFETCH(QVector2D, direction);
    QFETCH(QVector2D, moved);
    Node joint = nodeAt(position.x(), position.y(), direction);
    const Node tip = nodeAt(200.0f, 10.0f, QVector2D(1.0f, 0.0f));
    joint.branches.append(tip);
    qsrand(3);
    joint.updateBranches();
    const int next = qrand();
    QCOMPARE(next, drawAfter(3, 0));
    QVERIFY((joint.position - moved).length() < 1e-5f);
    QCOMPARE(joint.direction, direction);
    QCOMPARE(joint.branches.at(0).position, tip.position);
}

void RadialEffectTest::tipStays()
{
    Node tip = nodeAt(100.0f, 0.0f, QVector2D(1.0f, 0.0f));
    tip.updateBranches();
    QCOMPARE(tip.position, QVector2D(100.0f, 0.0f));
}

void RadialEffectTest::rootCreepsBackToo()
{
    RadialEffect effect;
    effect.reset();
    effect.addBranches();
    QCOMPARE(effect.d->root.position, QVector2D(0.0f, 0.0f));
    effect.d->root.position = QVector2D(100.0f, 0.0f);
    effect.addBranches();
    QVERIFY((effect.d->root.position - QVector2D(99.5f, 0.0f)).length() < 1e-5f);
}

void RadialEffectTest::tipsOfAGrownTreeNeverMove()
{
    RadialEffect effect;
    effect.reset();
    qsrand(100);
    for (int i = 0; i < 11; ++i) {
        effect.addBranches();
    }
    QVector<QVector2D> before;
    collectTips(effect.d->root, before);
    QVERIFY(before.size() > 1);
    const QVector<QLineF> lines = rendered(effect);
    for (int i = 0; i < 50; ++i) {
        effect.addBranches();
    }
    QVector<QVector2D> after;
    collectTips(effect.d->root, after);
    QCOMPARE(after, before);
    QVERIFY(rendered(effect) != lines);
}

void RadialEffectTest::segmentsAreDrawnDepthFirst()
{
    const QVector2D up(0.0f, -1.0f);
    Node left = nodeAt(-10.0f, 0.0f, up);
    left.branches.append(nodeAt(-20.0f, -5.0f, up));
    left.branches.append(nodeAt(-20.5f, 5.25f, up));
    Node right = nodeAt(10.0f, 0.0f, up);
    right.branches.append(nodeAt(20.0f, 0.0f, up));

    RadialEffect effect;
    effect.reset();
    effect.d->root.branches = {left, right};
    const QVector<QLineF> expected = {
        QLineF(0.0, 0.0, -10.0, 0.0),    QLineF(-10.0, 0.0, -20.0, -5.0),
        QLineF(-10.0, 0.0, -20.5, 5.25), QLineF(0.0, 0.0, 10.0, 0.0),
        QLineF(10.0, 0.0, 20.0, 0.0),
    };
    QCOMPARE(rendered(effect), expected);
}

void RadialEffectTest::everyJointIsDrawnOnce()
{
    RadialEffect effect;
    effect.reset();
    qsrand(100);
    for (int i = 0; i < 14; ++i) {
        effect.addBranches();
    }
    QVector<QLineF> expected;
    collectSegments(effect.d->root, expected);
    QCOMPARE(expected.size(), joints(effect.d->root) - 1);
    qsrand(6);
    QCOMPARE(rendered(effect), expected);
    const int next = qrand();
    QCOMPARE(next, drawAfter(6, 0));
}

void RadialEffectTest::counterGrowsByTheSegmentsBelow()
{
    Node joint = nodeAt(0.0f, 0.0f, QVector2D(1.0f, 0.0f));
    qsrand(9);
    for (int i = 0; i < 5; ++i) {
        joint.addBranches(2, 2.0f);
    }
    PaintRecorder recorder;
    QPainter painter(&recorder);
    int lines = 5;
    joint.render(painter, lines);
    QCOMPARE(lines, 5 + joints(joint) - 1);
    QCOMPARE(recorder.lines.size(), joints(joint) - 1);
}

void RadialEffectTest::painterIsLeftAsItWas()
{
    RadialEffect effect;
    effect.reset();
    effect.addBranches();
    PaintRecorder recorder;
    QPainter painter(&recorder);
    const QPen pen(QBrush(QColor(10, 20, 30)), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
    const QBrush brush(QColor(40, 50, 60));
    painter.setPen(pen);
    painter.setBrush(brush);
    painter.translate(128, 128);
    const QTransform transform = painter.transform();
    effect.render(painter);
    QCOMPARE(painter.pen(), pen);
    QCOMPARE(painter.brush(), brush);
    QCOMPARE(painter.transform(), transform);
    QCOMPARE(painter.compositionMode(), QPainter::CompositionMode_SourceOver);
    QVERIFY(!recorder.lines.isEmpty());
    for (const PaintRecorder::Line& line : qAsConst(recorder.lines)) {
        QCOMPARE(line.pen, pen);
    }
    QCOMPARE(recorder.others, 0);
}

void RadialEffectTest::updateDoesNothing()
{
    QWidget widget;
    DemoMain demo(&widget);
    RadialEffect effect;
    effect.reset();
    effect.addBranches();
    const QVector<QLineF> lines = rendered(effect);
    qsrand(21);
    DemoPart& part = effect;
    part.update(demo);
    const int next = qrand();
    QCOMPARE(next, drawAfter(21, 0));
    QCOMPARE(effect.d->steps, 2);
    QCOMPARE(rendered(effect), lines);
}

void RadialEffectTest::deletingThePartFreesTheTree()
{
    auto effect = std::make_unique<RadialEffect>();
    effect->reset();
    effect->addBranches();
    QVector<Node> shared = effect->d->root.branches;
    QVERIFY(!shared.isDetached());
    // Not a shared pointer of Qt's: that one remembers the class it was made with.
    std::unique_ptr<DemoPart> part = std::move(effect);
    part.reset();
    QVERIFY(shared.isDetached());
}

QTEST_MAIN(RadialEffectTest)
#include "radialeffecttest.moc"
