#include "startwindow.h"

#include <QMediaPlayer>
#include <QPainter>
#include <QUrl>

#include <memory>

// The least that a program takes which paints anything and can be heard: a word in each frame, and
// the show's music.
//   pixmoth-bench-furnished WIDTH HEIGHT START

namespace {

class FurnishedWindow : public StartWindow
{
public:
    void furnish() override
    {
        player = std::make_unique<QMediaPlayer>();
        player->setMedia(QUrl::fromLocalFile(PIXMOTH_MUSIC_DIR "/beat.mp3"));
        player->play();
    }

    void draw() override
    {
        QPainter painter(this);
        painter.drawText(20, 20, "pixmoth");
    }

private:
    std::unique_ptr<QMediaPlayer> player;
};

} // namespace

int main(int argc, char* argv[])
{
    return measureStart<FurnishedWindow>(argc, argv);
}
