#include "effects/radialeffect_p.h"

#include <QPainter>

#include <cmath>

namespace {

const int GROWTH_STEPS = 12;

/// The random factor of every angle, in [2.0, 2.2).
float randomTurn()
{
    const float r = (qrand() % 10000) / 10000.0;
    return r + (2.5 - r) * 0.8;
}

/// Angle 0 points up the screen, π/2 to the right.
float angleOf(const QVector2D& direction)
{
    return atan2f(direction.x(), -direction.y());
}

void appendChild(Node& parent, float angle)
{
    const int length = qrand() % 20 + 3;
    Node child;
    child.position = QVector2D(parent.position.x() + std::sin(angle) * length,
                               parent.position.y() - std::cos(angle) * length);
    child.direction = (child.position - parent.position).normalized();
    parent.branches.append(child);
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
                branches[i].addBranches(k, spread / k);
            }
        }
        return;
    }

    const float angle = angleOf(direction);
    const float turn = randomTurn();
    // The fan is centred for two children only; a single one leans to the left.
    float childAngle = angle - 0.25 * turn * spread;
    branches.reserve(count);
    for (int i = 0; i < count; ++i) {
        appendChild(*this, childAngle);
        childAngle += 0.5 * turn * spread;
    }
}

void Node::move()
{
    const float distance = position.length();
    position.setY(position.y() - direction.y() * 0.5 * distance * 0.01);
    position.setX(position.x() - direction.x() * 0.5 * distance * 0.01);
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

RadialEffect::RadialEffect() : d(new RadialEffectPrivate)
{
    d->root.position = QVector2D(0.0f, 0.0f);
    d->root.direction = QVector2D(1.0f, 0.0f);
    d->steps = 0;
    // A tree for nothing: it warms the random sequence up before that is seeded.
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
    static int c = 0; // Reserve: counts every call.

    Node& root = d->root;
    if (!root.branches.isEmpty()) {
        root.updateBranches();
    }
    if (d->steps >= GROWTH_STEPS) {
        d->steps += 1;
        ++c;
        return;
    }

    const int draw = qrand();
    if (root.branches.isEmpty()) {
        const int count = draw % 2 + 1;
        const float angle = angleOf(root.direction);
        const float turn = randomTurn();
        // Not π/2 and π: the two first branches leave nearly side by side, to the left.
        float childAngle = angle - 1.57 * turn;
        for (int i = 0; i < count; ++i) {
            appendChild(root, childAngle);
            childAngle += 3.14 * turn;
        }
    } else {
        for (int i = 0; i < root.branches.size(); ++i) {
            const int k = qrand() % 2 + 1;
            root.branches[i].addBranches(k, 6.28 / k);
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
    int lines = 0; // Counted for whoever tunes the tree; not used.
    d->root.render(painter, lines);
}

void RadialEffect::update(DemoMain&) {}
