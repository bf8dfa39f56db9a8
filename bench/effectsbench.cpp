#include "demo/demobuilder.h"
#include "demo/demomain_p.h"
#include "effects/radialeffect_p.h"

#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QPainter>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

// What the processor's share of the show costs, beside plain loops that compute only its numbers.
// Run under `valgrind --tool=callgrind` for instruction counts: tools/bench-effects.

namespace {

QImage canvas()
{
    QImage image(256, 256, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    return image;
}

int joints(const Node& node)
{
    int count = 1;
    for (const Node& branch : node.branches) {
        count += joints(branch);
    }
    return count;
}

/// The seed whose grown tree is the median of a thousand, or the largest of them.
unsigned int treeSeed(bool largest)
{
    static const auto seeds = [] {
        std::vector<std::pair<int, unsigned int>> trees;
        RadialEffect effect;
        for (unsigned int seed = 1; seed <= 1000; ++seed) {
            qsrand(seed);
            effect.reset();
            for (int i = 0; i < 11; ++i) {
                effect.addBranches();
            }
            trees.emplace_back(joints(effect.d->root), seed);
        }
        std::sort(trees.begin(), trees.end());
        return trees;
    }();
    return largest ? seeds.back().second : seeds[seeds.size() / 2].second;
}

void grow(RadialEffect& effect, unsigned int seed)
{
    qsrand(seed);
    effect.reset();
    for (int i = 0; i < 11; ++i) {
        effect.addBranches();
    }
}

void treeGrowth(benchmark::State& state)
{
    const unsigned int seed = treeSeed(state.range(0) != 0);
    RadialEffect effect;
    for (auto _ : state) {
        grow(effect, seed);
    }
    state.counters["joints"] = joints(effect.d->root);
}
BENCHMARK(treeGrowth)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void treeMotion(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    for (auto _ : state) {
        effect.addBranches();
    }
    state.counters["joints"] = joints(effect.d->root);
}
BENCHMARK(treeMotion)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

/// The motion of as many joints, in arrays.
void treeMotionNumbers(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    const auto count = static_cast<size_t>(joints(effect.d->root));
    std::vector<float> x(count, 3.0f);
    std::vector<float> y(count, 4.0f);
    std::vector<float> dx(count, 0.6f);
    std::vector<float> dy(count, 0.8f);
    for (auto _ : state) {
        for (size_t i = 0; i < count; ++i) {
            const double distance = std::sqrt(double(x[i]) * x[i] + double(y[i]) * y[i]);
            y[i] = static_cast<float>(y[i] - dy[i] * 0.5 * distance * 0.01);
            x[i] = static_cast<float>(x[i] - dx[i] * 0.5 * distance * 0.01);
        }
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(treeMotionNumbers)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void treeDrawing(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    QImage image = canvas();
    QPainter painter(&image);
    painter.translate(128, 128);
    painter.setPen(QPen(QBrush(Qt::darkYellow), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    for (auto _ : state) {
        effect.render(painter);
    }
    state.counters["joints"] = joints(effect.d->root);
}
BENCHMARK(treeDrawing)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void zoomer(benchmark::State& state)
{
    FrameBitmap bitmap;
    NZoomer effect;
    effect.init();
    int frame = 0;
    for (auto _ : state) {
        effect.renderFrame(&bitmap, frame++);
    }
}
BENCHMARK(zoomer)->Unit(benchmark::kMicrosecond);

/// The numbers of a zoom: a picture read back through a turn, bilinearly.
void zoomerNumbers(benchmark::State& state)
{
    std::vector<std::uint32_t> from(256 * 256, 0xff102030u);
    std::vector<std::uint32_t> to(256 * 256);
    const double c = std::cos(1.6 * M_PI / 180) / 1.05;
    const double s = std::sin(1.6 * M_PI / 180) / 1.03;
    for (auto _ : state) {
        for (int y = 0; y < 256; ++y) {
            int u = static_cast<int>((128 + c * (0 - 128) + s * (y - 128)) * 65536);
            int v = static_cast<int>((128 - s * (0 - 128) + c * (y - 128)) * 65536);
            const int du = static_cast<int>(c * 65536);
            const int dv = static_cast<int>(-s * 65536);
            for (int x = 0; x < 256; ++x, u += du, v += dv) {
                const int px = std::clamp(u >> 16, 0, 254);
                const int py = std::clamp(v >> 16, 0, 254);
                const std::uint32_t fx = (u >> 8) & 0xff;
                const std::uint32_t fy = (v >> 8) & 0xff;
                const auto mix = [](std::uint32_t a, std::uint32_t b, std::uint32_t f) {
                    const std::uint32_t rb = ((a & 0xff00ff) * (256 - f) + (b & 0xff00ff) * f) >> 8;
                    const std::uint32_t ag =
                        ((a >> 8) & 0xff00ff) * (256 - f) + ((b >> 8) & 0xff00ff) * f;
                    return (rb & 0xff00ff) | (ag & 0xff00ff00);
                };
                const std::uint32_t* p = &from[static_cast<size_t>(py * 256 + px)];
                to[static_cast<size_t>(y * 256 + x)] =
                    mix(mix(p[0], p[1], fx), mix(p[256], p[257], fx), fy);
            }
        }
        benchmark::DoNotOptimize(to.data());
        std::swap(from, to);
    }
}
BENCHMARK(zoomerNumbers)->Unit(benchmark::kMicrosecond);

void lattice(benchmark::State& state)
{
    Wireframes effect;
    QImage image = canvas();
    QPainter painter(&image);
    painter.translate(128, 128);
    int frame = 0;
    for (auto _ : state) {
        effect.renderFrame(painter, frame++);
    }
}
BENCHMARK(lattice)->Unit(benchmark::kMicrosecond);

void noise(benchmark::State& state)
{
    FrameBitmap bitmap;
    EffectBase effect;
    int frame = 0;
    for (auto _ : state) {
        effect.renderFrame(&bitmap, frame++);
    }
}
BENCHMARK(noise)->Unit(benchmark::kMicrosecond);

/// Three draws and three sines a pixel, in floats, from the same generator.
void noiseNumbers(benchmark::State& state)
{
    std::minstd_rand random(1);
    std::vector<std::uint32_t> pixels(256 * 256);
    for (auto _ : state) {
        for (std::uint32_t& pixel : pixels) {
            const float r = sinf(static_cast<float>(random()) * 0.00001f);
            const float g = sinf(static_cast<float>(random()) * 0.00001f);
            const float b = cosf(static_cast<float>(random()) * 0.00001f);
            const auto channel = [](float v) {
                return static_cast<std::uint32_t>(std::max(0.0f, (v + 0.9f) * 128.0f)) & 0xff;
            };
            pixel = 0xff000000u | channel(r) << 16 | channel(g) << 8 | channel(b);
        }
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(noiseNumbers)->Unit(benchmark::kMicrosecond);

void script(benchmark::State& state)
{
    QWidget widget;
    DemoMain demo(&widget);
    demo.friends()->query();
    for (auto _ : state) {
        benchmark::DoNotOptimize(DemoBuilder().build(demo));
    }
}
BENCHMARK(script)->Unit(benchmark::kMicrosecond);

void shuffleNames(benchmark::State& state)
{
    QStringList labels;
    for (int i = 0; i < 20000; ++i) {
        labels.append(QString("Name%1 Family").arg(i));
    }
    fakecontacts::setLabels(labels);
    for (auto _ : state) {
        Friends friends;
        friends.query();
    }
    fakecontacts::setLabels({"Anna", "Bo", "Cleo", "Dora"});
}
BENCHMARK(shuffleNames)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*=false");
    QApplication application(argc, argv);
    fakecontacts::use();
    fakecontacts::setLabels({"Anna", "Bo", "Cleo", "Dora"});
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
