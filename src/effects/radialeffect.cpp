#include "effects/radialeffect_p.h"

#include <QPainter>

#include <cmath>

namespace radial {

namespace {

const int GROWTH_STEPS = 12;

// Joints and angles are kept in single precision, and reckoned in double wherever a rounded factor
// like 0.25 or 3.14 has a part in it.

/// The random factor of every angle, in [2.0, 2.2); of single precision.
double randomTurn()
{
    const double r = static_cast<float>((qrand() % 10000) / 10000.0);
    return static_cast<float>(r + (2.5 - r) * 0.8);
}

/// Angle 0 points up the screen, π/2 to the right.
float angleOf(const QVector2D& direction)
{
    return std::atan2(direction.x(), -direction.y());
}

float turned(double angle, double by)
{
    return static_cast<float>(angle + by);
}

/// One coordinate of a joint after its step back.
float steppedBack(double coordinate, double direction, double distance)
{
    return static_cast<float>(coordinate - direction * 0.5 * distance * 0.01);
}

void appendChild(Node& parent, float angle)
{
    const auto length = static_cast<float>(qrand() % 20 + 3);
    Node child;
    child.position = QVector2D(parent.position.x() + std::sin(angle) * length,
                               parent.position.y() - std::cos(angle) * length);
    child.direction = (child.position - parent.position).normalized();
    parent.branches.append(child);
}

/// `count` children, the first at angle `first`, each next one `step` further on.
void appendFan(Node& parent, int count, float first, double step)
{
    parent.branches.reserve(count);
    float angle = first;
    for (int i = 0; i < count; ++i) {
        appendChild(parent, angle);
        angle = turned(angle, step);
    }
}

} // namespace

void Node::addBranches(int count, float spread)
{
    if (!branches.isEmpty()) {
        for (int i = 0; i < branches.size(); ++i) {
            int k = qrand() % 2;
            if (static_cast<double>(spread) > 0.3) {
                k += 1;
            }
            if (k > 0) {
                branches[i].addBranches(k, spread / static_cast<float>(k));
            }
        }
        return;
    }

    const float angle = angleOf(direction);
    const double fan = randomTurn() * static_cast<double>(spread);
    // Centred for two children only; a single one leans to the left.
    appendFan(*this, count, turned(angle, -0.25 * fan), 0.5 * fan);
}

void Node::move()
{
    const float distance = position.length();
    position.setY(steppedBack(position.y(), direction.y(), distance));
    position.setX(steppedBack(position.x(), direction.x(), distance));
}

void Node::updateBranches()
{
    if (!branches.isEmpty()) {
        move();
    }
    for (int i = 0; i < branches.size(); ++i) {
        branches[i].updateBranches();
    }
}

void Node::render(QPainter& painter, int& lines) const
{
    for (const Node& branch : branches) {
        const QLineF line(position.toPointF(), branch.position.toPointF());
        painter.drawLines(&line, 1);
        branch.render(painter, lines);
        lines += 1;
    }
}

} // namespace radial

RadialEffect::RadialEffect() : d(new RadialEffectPrivate)
{
    d->root.position = QVector2D(0.0f, 0.0f);
    d->root.direction = QVector2D(1.0f, 0.0f);
    d->steps = 0;
    // The tree is thrown away: its draws only advance the random sequence, which is then seeded.
    for (int i = 0; i < 10; ++i) {
        addBranches();
    }
    d->root.branches.clear();
    qsrand(100);
}

RadialEffect::~RadialEffect() = default;

void RadialEffect::reset()
{
    d->steps = 0;
    d->root.branches.clear();
    d->root.position = QVector2D(0.0f, 0.0f);
}

void RadialEffect::addBranches()
{
    [[maybe_unused]] static int c = 0; // Reserve: counts every call.

    radial::Node& root = d->root;
    if (!root.branches.isEmpty()) {
        root.updateBranches();
    }
    if (d->steps >= radial::GROWTH_STEPS) {
        d->steps += 1;
        ++c;
        return;
    }

    const int draw = qrand();
    if (root.branches.isEmpty()) {
        const int count = draw % 2 + 1;
        const float angle = radial::angleOf(root.direction);
        const double turn = radial::randomTurn();
        // Not π/2 and π: the two first branches leave nearly side by side, to the left.
        radial::appendFan(root, count, radial::turned(angle, -1.57 * turn), 3.14 * turn);
    } else {
        for (int i = 0; i < root.branches.size(); ++i) {
            const int k = qrand() % 2 + 1;
            root.branches[i].addBranches(k, static_cast<float>(6.28 / k));
        }
    }
    d->steps += 1;
    ++c;
    if (d->steps == 1) {
        addBranches();
    }
}

void RadialEffect::render(QPainter& painter)
{
    int lines = 0; // Nobody reads the sum; it is there for whoever tunes the tree.
    d->root.render(painter, lines);
}

void RadialEffect::update(DemoMain&) {}
