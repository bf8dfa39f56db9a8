#pragma once

#include "app/demowindow.h"

#include <memory>

class SourceWatch;

/// The show in a window, from any of its parts on, drawn with the shaders and pictures of the
/// source tree as they are at the moment. For those who work on a look. Any key closes it, but for
/// Shift and its like, which may be on the way to another window. The end of the show leaves the
/// event loop, as in DemoWindow.
class Rehearsal : public DemoWindow
{
    Q_OBJECT

public:
    /// `resources` is the folder that the compiled-in files were taken from.
    explicit Rehearsal(const QString& resources, QWidget* parent = nullptr);
    ~Rehearsal() override;

    /// Loads the show without showing it. False where there is no OpenGL to draw it with: then the
    /// event loop ends at once, with code 1.
    bool load();

    /// 0 before a show is loaded.
    int numParts() const;

    /// To be called before the first frame; else it begins at its beginning. `part` is one of
    /// 1..numParts(). With `again` this part is played again and again; from the second time on
    /// even the first lasts as long as the others.
    void beginAt(int part, bool again);

signals:
    /// A line for the author: which part plays, what has been loaded.
    void told(const QString& line);
    /// What is wrong with a file, in as many lines as the driver needs.
    void complained(const QString& text);

protected:
    void initializeGL() override;
    void paintGL() override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// Has the show begin, before its first frame is drawn.
    void begin();
    /// Has the next frame be the first one of the part.
    void seekPart();
    /// Milliseconds of music before the part, where nothing has held an earlier one.
    static int beginningOf(int part);
    /// Takes the music to where it is in the show by now.
    void seekMusic();
    /// Gives the music the volume that it has by now in the show.
    void setVolume();
    void tellPart();

    const QString resources;
    int scriptSize = 0;
    int firstPart = 1;
    bool isLoop = false;
    bool begun = false;
    int toldPart = 0;
    std::unique_ptr<SourceWatch> sources; ///< Null until the show is loaded.
};
