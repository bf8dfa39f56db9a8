#pragma once

#include <QObject>

#include <memory>

class Friends;
class QWidget;
class Speech;
class SystemState;

namespace graphics {
class Renderer;
}

/// The show: it owns everything that is made at run time and draws one frame per paint().
///
/// Its life: the constructor makes empty owners; init() loads and builds everything; each paint()
/// advances the script and draws; the destructor ends the music and frees the rest. From init() on
/// the GL context must be current in every call, and in the destructor.
class DemoMain : public QObject
{
    Q_OBJECT

public:
    /// For `widget`, which must not be null (std::bad_alloc), is the parent, and gives the size of
    /// the picture. Seeds the qrand() sequence.
    explicit DemoMain(QWidget* widget);
    ~DemoMain() override;

    /// Loads all resources and writes the script; once. Seeds the qrand() sequence by the clock.
    void init();

    /// Draws one frame. 1 while the show runs, 0 when its script has run out, and from then on.
    int paint();

    graphics::Renderer* renderer() const; ///< Reserve.
    Speech* speech() const;               ///< Reserve.
    SystemState* systemState() const;
    Friends* friends() const;

private:
    struct DemoMainPrivate;
    std::unique_ptr<DemoMainPrivate> d;
};
