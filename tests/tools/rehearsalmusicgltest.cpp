#include "demo/demomain_p.h"
#include "rehearsal.h"

#include "platform/soundsink.h"
#include "support/fakecontacts.h"

#include <QMediaPlayer>
#include <QTest>

/// The music of a rehearsal, in real time, with a sound server of the test's own.
class RehearsalMusicGlTest : public QObject
{
    Q_OBJECT

private slots:
    void isWhereThePartIs();
};

namespace {

const int PART = 9;
/// A server that has nothing else to play takes its time before it begins, and far more on a busy
/// machine; the music is late by as much, as it is in the show.
const int LATE_MS = 3000;
const int EARLY_MS = 400;

} // namespace

void RehearsalMusicGlTest::isWhereThePartIs()
{
    fakecontacts::use();
    // As its program does: muted music would not be played at all by some players.
    platform::provideSoundSink();
    // No synthesiser: nothing holds the part.
    qputenv("PATH", "");
    Rehearsal rehearsal(RESOURCES);
    QVERIFY(rehearsal.load());
    rehearsal.beginAt(PART, true);
    rehearsal.show();
    DemoMain::DemoMainPrivate& d = *rehearsal.demoMain->d;
    QTRY_VERIFY(d.partIndex == PART - 1 && d.player->isMuted());
    QTRY_VERIFY_WITH_TIMEOUT(!d.player->isMuted(), 15000);

    const auto lead = [&] {
        return static_cast<int>(d.player->position()) - Rehearsal::beginningOf(PART) -
               d.partTime.elapsed();
    };
    const auto isThere = [&] { return lead() > -LATE_MS && lead() < EARLY_MS; };
    QTRY_VERIFY2_WITH_TIMEOUT(isThere(), qPrintable(QString::number(lead())), 1000);
    // So it is when the part begins again, though the music has gone on till then.
    QTRY_VERIFY_WITH_TIMEOUT(d.partTime.elapsed() > 4000, 10000);
    QVERIFY2(isThere(), qPrintable(QString::number(lead())));
    QTRY_VERIFY_WITH_TIMEOUT(d.partTime.elapsed() < 1000, 10000);
    QTRY_VERIFY2(isThere(), qPrintable(QString::number(lead())));
    QTest::qWait(1000);
    QVERIFY2(isThere(), qPrintable(QString::number(lead())));
    QVERIFY(!d.player->isMuted());
}

QTEST_MAIN(RehearsalMusicGlTest)
#include "rehearsalmusicgltest.moc"
