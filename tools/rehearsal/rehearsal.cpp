#include "rehearsal.h"

#include "sourcewatch.h"

#include "demo/demomain_p.h"
#include "demo/timing.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMediaPlayer>
#include <QTimer>

namespace {

/// Milliseconds that a part lasts where nothing holds it.
int lengthOf(int part)
{
    return part == 1 ? FIRST_PART_MS : LATER_PART_MS;
}

QTime ago(int milliseconds)
{
    return QTime::currentTime().addMSecs(-milliseconds);
}

} // namespace

Rehearsal::Rehearsal(const QString& resources, QWidget* parent)
    : DemoWindow(parent), resources(resources)
{
}

Rehearsal::~Rehearsal() = default;

bool Rehearsal::load()
{
    if (isValid()) {
        glInit();
    }
    return sources != nullptr;
}

int Rehearsal::numParts() const
{
    return scriptSize;
}

void Rehearsal::beginAt(int part, bool again)
{
    firstPart = part;
    isLoop = again;
}

void Rehearsal::initializeGL()
{
    DemoWindow::initializeGL();
    if (!timer || sources) {
        return;
    }
    scriptSize = demoMain->d->parts.size();
    sources = std::make_unique<SourceWatch>(*demoMain, *this, resources);
    connect(sources.get(), &SourceWatch::loaded, this,
            [this](const QString& file) { emit told(file + ": loaded"); });
    connect(sources.get(), &SourceWatch::refused, this,
            [this](const QString& file, const QString& reason) {
                emit complained(file + ": " + reason + "\nThe last good one goes on.");
            });
    sources->look();
}

void Rehearsal::paintGL()
{
    if (!sources) {
        return;
    }
    if (!begun) {
        begun = true;
        begin();
    }
    bool playing = demoMain->paint() != 0;
    if (!playing && isLoop) {
        seekPart();
        playing = demoMain->paint() != 0;
        seekMusic();
    }
    if (!playing) {
        QCoreApplication::exit(0);
        return;
    }
    tellPart();
}

void Rehearsal::keyPressEvent(QKeyEvent* event)
{
    // Not the keys that are on the way to another window.
    switch (event->key()) {
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Shift:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return;
    }
    close();
}

void Rehearsal::begin()
{
    DemoMain::DemoMainPrivate& d = *demoMain->d;
    if (isLoop) {
        d.parts.resize(firstPart);
    }
    if (firstPart == 1) {
        return;
    }
    // The player cannot be sent to a place before it has played for a while.
    d.player->setMuted(true);
    connect(d.player.get(), &QMediaPlayer::seekableChanged, this, [this](bool seekable) {
        if (seekable) {
            seekMusic();
            demoMain->d->player->setMuted(false);
        }
    });
    // The driver's first frame starts music and clock. It is never seen, and nothing is said in it.
    const auto script = d.parts;
    d.parts = {QSharedPointer<DemoPart>::create()};
    demoMain->paint();
    d.parts = script;
    setVolume();
    seekPart();
}

void Rehearsal::seekPart()
{
    DemoMain::DemoMainPrivate& d = *demoMain->d;
    // As if the part before had just had its time; before the first part there is none.
    d.partIndex = firstPart - 2;
    d.partTime = ago(2 * lengthOf(firstPart));
}

void Rehearsal::seekMusic()
{
    DemoMain::DemoMainPrivate& d = *demoMain->d;
    d.player->setPosition(beginningOf(d.partIndex + 1) + d.partTime.elapsed());
}

int Rehearsal::beginningOf(int part)
{
    int sum = 0;
    for (int earlier = 1; earlier < part; ++earlier) {
        sum += lengthOf(earlier);
    }
    return sum;
}

void Rehearsal::setVolume()
{
    DemoMain::DemoMainPrivate& d = *demoMain->d;
    // Only a fade sets it: what counts is the end of the last one.
    for (int part = firstPart - 1; part >= 1; --part) {
        const int fade = d.parts.at(part - 1)->fade;
        if (fade != DemoPart::NoFade) {
            d.partTime = ago(lengthOf(part));
            d.drawFade(fade);
            return;
        }
    }
}

void Rehearsal::tellPart()
{
    const int part = demoMain->d->partIndex + 1;
    if (part == toldPart) {
        return;
    }
    toldPart = part;
    const QString line = QString("Part %1 of %2").arg(part).arg(numParts());
    setWindowTitle("pixmoth: " + line.toLower());
    emit told(line);
}
