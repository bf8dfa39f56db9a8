#pragma once

#include <QString>

#include <cmath>
#include <functional>

/// The looks in plain arithmetic, which shares no code with the shaders: what each makes of a
/// texture at a place, and of the colour of a vertex. Channels are from 0 to 1, and whatever a
/// shader may answer beyond that.
namespace lookmodels {

struct Color
{
    double r, g, b, a;
};

inline Color operator*(const Color& c, double f)
{
    return {c.r * f, c.g * f, c.b * f, c.a * f};
}

inline Color operator*(const Color& c, const Color& d)
{
    return {c.r * d.r, c.g * d.g, c.b * d.b, c.a * d.a};
}

inline Color operator+(const Color& c, double f)
{
    return {c.r + f, c.g + f, c.b + f, c.a + f};
}

inline Color operator+(const Color& c, const Color& d)
{
    return {c.r + d.r, c.g + d.g, c.b + d.b, c.a + d.a};
}

/// A texture, by its coordinates.
using Texture = std::function<Color(double u, double v)>;

using Look = Color (*)(const Texture& texture, double u, double v, const Color& color);

/// Without a look: the program that draws titles and faces.
inline Color plain(const Texture& texture, double u, double v, const Color& color)
{
    return texture(u, v) * color;
}

inline Color contrast(const Texture& texture, double u, double v, const Color& color)
{
    const Color c = texture(u + std::sin(v * 6.0) * 0.1, v) * color;
    const Color hard = (c + -0.7) * 7.5 + 3.5;
    return c * 0.3 + hard * (hard.r < 0.5 ? 0.1 : 1.9);
}

inline Color contrast2(const Texture& texture, double u, double v, const Color& color)
{
    return (texture(u, v) * color + -0.5) * 2.5 + 0.8;
}

inline Color contrast3(const Texture& texture, double u, double v, const Color& color)
{
    const Color c = texture(u, v);
    return contrast2(texture, u + std::sin(c.g * 0.3) * 0.4, v + std::cos(c.r * 0.3) * 0.4, color);
}

inline Color contrast4(const Texture& texture, double u, double v, const Color& color)
{
    const Color c = texture(u, v);
    const double movedU = u + std::sin(c.g * 0.3) * 0.02;
    const double movedV = v + std::cos((c.r - 0.5) * 0.2) * 0.05;
    return (texture(movedU, movedV) * color + -0.5) * 2.6 + 0.8;
}

/// The model of a look, by its name; null where nobody has written one.
inline Look look(const QString& name)
{
    static const struct
    {
        const char* name;
        Look look;
    } LOOKS[] = {
        {"contrast", contrast},
        {"contrast2", contrast2},
        {"contrast3", contrast3},
        {"contrast4", contrast4},
    };
    for (const auto& entry : LOOKS) {
        if (name == entry.name) {
            return entry.look;
        }
    }
    return nullptr;
}

} // namespace lookmodels
