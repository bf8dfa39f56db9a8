#include "instructions.h"

#include "demo/demobuilder.h"
#include "demo/demomain_p.h"
#include "effects/radialeffect_p.h"

#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

// What the processor's share of the show costs, beside plain loops that compute only its numbers.
// tools/bench-effects makes a table of it, with instruction counts beside the times.

using radial::Node;

namespace {

QImage canvas()
{
    QImage image(256, 256, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    return image;
}

/// Draws nothing: what is left is what an effect and the painter's interface cost.
class NoCanvas : public QPaintDevice
{
public:
    QPaintEngine* paintEngine() const override
    {
        return &engine;
    }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        return metric == PdmWidth || metric == PdmHeight ? 256
               : metric == PdmDevicePixelRatio           ? 1
                                                         : QPaintDevice::metric(metric);
    }

private:
    class Engine : public QPaintEngine
    {
    public:
        Engine() : QPaintEngine(AllFeatures) {}
        bool begin(QPaintDevice*) override
        {
            return true;
        }
        bool end() override
        {
            return true;
        }
        void updateState(const QPaintEngineState&) override {}
        void drawLines(const QLineF*, int) override {}
        void drawPoints(const QPointF*, int) override {}
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
        Type type() const override
        {
            return User;
        }
    };

    mutable Engine engine;
};

int joints(const Node& node)
{
    int count = 1;
    for (const Node& branch : node.branches) {
        count += joints(branch);
    }
    return count;
}

void grow(RadialEffect& effect, unsigned int seed)
{
    qsrand(seed);
    effect.reset();
    for (int i = 0; i < 11; ++i) {
        effect.addBranches();
    }
}

/// The seed whose grown tree is the median of a thousand, or the largest of them.
unsigned int treeSeed(bool largest)
{
    static const auto seeds = [] {
        std::vector<std::pair<int, unsigned int>> trees;
        RadialEffect effect;
        for (unsigned int seed = 1; seed <= 1000; ++seed) {
            grow(effect, seed);
            trees.emplace_back(joints(effect.d->root), seed);
        }
        std::sort(trees.begin(), trees.end());
        return trees;
    }();
    return largest ? seeds.back().second : seeds[seeds.size() / 2].second;
}

/// A tree's benchmark as it is called in the table.
std::string treeName(const char* name, const benchmark::State& state)
{
    return std::string(name) + "/worst:" + std::to_string(state.range(0));
}

/// The motion of `count` joints, in arrays.
void moveNumbers(std::vector<float>& x, std::vector<float>& y, const std::vector<float>& dx,
                 const std::vector<float>& dy, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const double distance = std::sqrt(double(x[i]) * x[i] + double(y[i]) * y[i]);
        y[i] = static_cast<float>(y[i] - dy[i] * 0.5 * distance * 0.01);
        x[i] = static_cast<float>(x[i] - dx[i] * 0.5 * distance * 0.01);
    }
}

void treeGrowth(benchmark::State& state)
{
    const unsigned int seed = treeSeed(state.range(0) != 0);
    RadialEffect effect;
    const Instructions counted(treeName("treeGrowth", state), state);
    for (auto _ : state) {
        grow(effect, seed);
    }
    state.SetLabel(std::to_string(joints(effect.d->root)) + " joints");
}
BENCHMARK(treeGrowth)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

/// How many numbers the growth of a tree draws.
int drawsOf(unsigned int seed)
{
    RadialEffect effect;
    grow(effect, seed);
    const int next[] = {qrand(), qrand(), qrand()};
    qsrand(seed);
    int window[] = {qrand(), qrand(), qrand()};
    int draws = 0;
    while (!std::equal(std::begin(next), std::end(next), std::begin(window))) {
        std::rotate(std::begin(window), std::begin(window) + 1, std::end(window));
        window[2] = qrand();
        ++draws;
    }
    return draws;
}

/// As many draws, and as many joints, each with its angle, its place and its direction, in arrays;
/// and the motion of what has grown, at every step.
void treeGrowthNumbers(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    const int draws = drawsOf(treeSeed(state.range(0) != 0));
    const auto count = static_cast<size_t>(joints(effect.d->root));
    std::vector<float> x(count);
    std::vector<float> y(count);
    std::vector<float> dx(count, 0.6f);
    std::vector<float> dy(count, 0.8f);
    const Instructions counted(treeName("treeGrowthNumbers", state), state);
    for (auto _ : state) {
        size_t grown = 0;
        int sum = 0;
        for (int i = static_cast<int>(2 * count); i < draws; ++i) {
            sum += qrand() % 2;
        }
        benchmark::DoNotOptimize(sum);
        for (int step = 1; step <= 12; ++step) {
            moveNumbers(x, y, dx, dy, grown);
            // The tree about doubles at each step.
            for (const size_t end = count >> (12 - step); grown < end; ++grown) {
                const size_t parent = grown / 2;
                const double r = (qrand() % 10000) / 10000.0;
                const float angle = std::atan2(dx[parent], -dy[parent]) - static_cast<float>(r);
                const int length = qrand() % 20 + 3;
                x[grown] = static_cast<float>(x[parent] + std::sin(angle) * length);
                y[grown] = static_cast<float>(y[parent] - std::cos(angle) * length);
                const double wide = double(x[grown]) - x[parent];
                const double high = double(y[grown]) - y[parent];
                const double distance = std::sqrt(wide * wide + high * high);
                dx[grown] = static_cast<float>(wide / distance);
                dy[grown] = static_cast<float>(high / distance);
            }
        }
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(treeGrowthNumbers)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void treeMotion(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    const Instructions counted(treeName("treeMotion", state), state);
    for (auto _ : state) {
        effect.addBranches();
    }
    state.SetLabel(std::to_string(joints(effect.d->root)) + " joints");
}
BENCHMARK(treeMotion)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

/// The motion of as many joints.
void treeMotionNumbers(benchmark::State& state)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    const auto count = static_cast<size_t>(joints(effect.d->root));
    std::vector<float> x(count, 3.0f);
    std::vector<float> y(count, 4.0f);
    std::vector<float> dx(count, 0.6f);
    std::vector<float> dy(count, 0.8f);
    const Instructions counted(treeName("treeMotionNumbers", state), state);
    for (auto _ : state) {
        moveNumbers(x, y, dx, dy, count);
        benchmark::DoNotOptimize(x.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(treeMotionNumbers)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void drawTree(benchmark::State& state, const char* name, QPaintDevice& device)
{
    RadialEffect effect;
    grow(effect, treeSeed(state.range(0) != 0));
    QPainter painter(&device);
    painter.translate(128, 128);
    painter.setPen(QPen(QBrush(Qt::darkYellow), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    const Instructions counted(treeName(name, state), state);
    for (auto _ : state) {
        effect.render(painter);
    }
    state.SetLabel(std::to_string(joints(effect.d->root)) + " joints");
}

void treeDrawing(benchmark::State& state)
{
    QImage image = canvas();
    drawTree(state, "treeDrawing", image);
}
BENCHMARK(treeDrawing)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void treeDrawingOnNothing(benchmark::State& state)
{
    NoCanvas nothing;
    drawTree(state, "treeDrawingOnNothing", nothing);
}
BENCHMARK(treeDrawingOnNothing)->ArgName("worst")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void tunnel(benchmark::State& state)
{
    FrameBitmap bitmap;
    NZoomer effect;
    effect.init();
    int frame = 0;
    const Instructions counted("tunnel", state);
    for (auto _ : state) {
        effect.renderFrame(&bitmap, frame++);
    }
}
BENCHMARK(tunnel)->Unit(benchmark::kMicrosecond);

/// The numbers of a zoom: a picture read back through a turn, bilinearly.
void tunnelNumbers(benchmark::State& state)
{
    std::vector<std::uint32_t> from(256 * 256, 0xff102030u);
    std::vector<std::uint32_t> to(256 * 256);
    const double c = std::cos(1.6 * M_PI / 180) / 1.05;
    const double s = std::sin(1.6 * M_PI / 180) / 1.03;
    const Instructions counted("tunnelNumbers", state);
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
BENCHMARK(tunnelNumbers)->Unit(benchmark::kMicrosecond);

void drawLattice(benchmark::State& state, const char* name, QPaintDevice& device)
{
    Wireframes effect;
    QPainter painter(&device);
    painter.translate(128, 128);
    int frame = 0;
    const Instructions counted(name, state);
    for (auto _ : state) {
        effect.renderFrame(painter, frame++);
    }
}

void lattice(benchmark::State& state)
{
    QImage image = canvas();
    drawLattice(state, "lattice", image);
}
BENCHMARK(lattice)->Unit(benchmark::kMicrosecond);

void latticeOnNothing(benchmark::State& state)
{
    NoCanvas nothing;
    drawLattice(state, "latticeOnNothing", nothing);
}
BENCHMARK(latticeOnNothing)->Unit(benchmark::kMicrosecond);

/// What the painter takes for being told a pen and a point 343 times.
void latticePainter(benchmark::State& state)
{
    NoCanvas nothing;
    QPainter painter(&nothing);
    painter.translate(128, 128);
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    std::vector<QColor> colors;
    for (int i = 0; i < 343; ++i) {
        colors.emplace_back(i % 256, 255 - i % 256, i / 2, 7);
    }
    const Instructions counted("latticePainter", state);
    for (auto _ : state) {
        for (const QColor& color : colors) {
            painter.setPen(QPen(QBrush(color), 18.0 + color.red() / 256.0, Qt::SolidLine,
                                Qt::SquareCap, Qt::BevelJoin));
            const QPointF position(color.red(), color.green());
            painter.drawPoints(&position, 1);
        }
    }
}
BENCHMARK(latticePainter)->Unit(benchmark::kMicrosecond);

struct Rgb
{
    int red, green, blue;
};

/// Darker by way of hue, saturation and value, as QColor has it: in 16 bits a channel, the hue in
/// hundredths of a degree.
Rgb darkerNumbers(Rgb color)
{
    const float r = static_cast<float>(color.red) / 255.0f;
    const float g = static_cast<float>(color.green) / 255.0f;
    const float b = static_cast<float>(color.blue) / 255.0f;
    const float most = std::max({r, g, b});
    const float spread = most - std::min({r, g, b});
    int hue = 0;
    if (spread > 0.0f) {
        const float turn = most == r   ? (g - b) / spread
                           : most == g ? 2.0f + (b - r) / spread
                                       : 4.0f + (r - g) / spread;
        hue = static_cast<int>((turn < 0.0f ? turn + 6.0f : turn) * 6000.0f + 0.5f);
    }
    const int saturation = most > 0.0f ? static_cast<int>(spread / most * 65535.0f + 0.5f) : 0;
    const int value = static_cast<int>(most * 65535.0f + 0.5f) * 100 / 140;

    const float h = static_cast<float>(hue) / 6000.0f;
    const int sextant = static_cast<int>(h);
    const float f = h - static_cast<float>(sextant);
    const float s = static_cast<float>(saturation) / 65535.0f;
    const float v = static_cast<float>(value) / 65535.0f;
    const auto channel = [](float c) { return static_cast<int>(c * 65535.0f + 0.5f) >> 8; };
    const int top = channel(v);
    const int low = channel(v * (1.0f - s));
    const int falling = channel(v * (1.0f - s * f));
    const int rising = channel(v * (1.0f - s * (1.0f - f)));
    switch (sextant) {
    case 0:
        return {top, rising, low};
    case 1:
        return {falling, top, low};
    case 2:
        return {low, top, rising};
    case 3:
        return {low, falling, top};
    case 4:
        return {rising, low, top};
    default:
        return {top, low, falling};
    }
}

/// The places, widths and colours of the points.
void latticeNumbers(benchmark::State& state)
{
    struct Point
    {
        float x, y, width;
        Rgb color;
    };
    std::vector<Point> points(343);
    int frame = 0;
    const Instructions counted("latticeNumbers", state);
    for (auto _ : state) {
        const double theta = static_cast<float>(frame++ * 2) / 150.0f * 3.14f;
        const float s = static_cast<float>(std::sin(theta));
        const float c = static_cast<float>(std::cos(theta));
        const float m[16] = {c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, s, c, 1, 1480};
        Point* point = points.data();
        for (int i = -3; i <= 3; ++i) {
            double red = std::sin(theta + 0.5 * i) * 90.0;
            for (int j = -3; j <= 3; ++j) {
                double green = std::cos(theta + 0.5 * j) * 90.0;
                for (int k = -3; k <= 3; ++k) {
                    red = std::clamp(red + 50.0, 0.0, 255.0);
                    green = std::clamp(green + 100.0, 0.0, 255.0);
                    const double blue =
                        std::clamp(std::sin(theta + 0.5 * k) * 90.0 + 130.0, 0.0, 255.0);
                    const float x = 35.0f * i;
                    const float y = 35.0f * j;
                    const float z = 35.0f * k;
                    const float w = m[12] * x + m[13] * y + m[14] * z + m[15];
                    *point++ = {(m[0] * x + m[1] * y + m[2] * z + m[3]) / w,
                                (m[4] * x + m[5] * y + m[6] * z + m[7]) / w, 500.0f / w * 35.0f,
                                darkerNumbers({static_cast<int>(red), static_cast<int>(green),
                                               static_cast<int>(blue)})};
                }
            }
        }
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(latticeNumbers)->Unit(benchmark::kMicrosecond);

void noise(benchmark::State& state)
{
    FrameBitmap bitmap;
    EffectBase effect;
    int frame = 0;
    const Instructions counted("noise", state);
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
    const Instructions counted("noiseNumbers", state);
    for (auto _ : state) {
        for (std::uint32_t& pixel : pixels) {
            const float r = std::sin(static_cast<float>(random()) * 0.00001f);
            const float g = std::sin(static_cast<float>(random()) * 0.00001f);
            const float b = std::cos(static_cast<float>(random()) * 0.00001f);
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
    const Instructions counted("script", state);
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
    const Instructions counted("shuffleNames", state);
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
