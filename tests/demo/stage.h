#pragma once

#include "demo/demomain_p.h"
#include "demo/timing.h"

#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/files.h"
#include "support/glrecorder.h"
#include "support/glwindow.h"
#include "support/testclock.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGLShaderProgram>
#include <QMediaPlayer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(DemoPart::Effect)
Q_DECLARE_METATYPE(DemoPart::Face)

/// A whole show under the test's own clock, battery, address book and synthesiser.
class Stage
{
public:
    Stage()
    {
        testclock::takeOver();
        fakedevice::reset();
        fakedevice::state().batteryLevel = 73;
        fakecontacts::use();
        fakecontacts::setLabels({"Anna Bell", "Bo Carr", "Cleo Dahl", "Dora Ek"});
        // Says what it is told to say, and goes on for as long as the test wants.
        writeScript(bin.filePath("espeak"),
                    "#!/bin/sh\n"
                    "here=$(dirname \"$0\")\n"
                    "for line; do :; done\n"
                    "printf '%s\\n' \"$line\" >>\"$here/spoken\"\n"
                    "while [ -e \"$here/talking\" ]; do sleep 0.02; done\n");
        qputenv("PATH", bin.path().toLocal8Bit() + ":" + qgetenv("PATH"));
    }

    ~Stage()
    {
        close();
        testclock::giveBack();
    }

    /// Makes the driver and loads the show.
    void open()
    {
        demo = std::make_unique<DemoMain>(&window);
        demo->init();
    }

    /// Ends the show; the window and its context stay.
    void close()
    {
        window.makeCurrent();
        demo.reset();
    }

    DemoMain::DemoMainPrivate& d()
    {
        return *demo->d;
    }

    /// Lets time pass, and the synthesiser finish, and draws a frame.
    int frame(int milliseconds = TICK_MS)
    {
        testclock::advance(milliseconds);
        if (!talking()) {
            awaitSilence();
        }
        return demo->paint();
    }

    /// Draws a frame a tick until the part of this number, counted from 1, has begun.
    void playTo(int part)
    {
        for (int i = 0; i < 2000 && d().partIndex != part - 1; ++i) {
            frame(d().partIndex == -1 ? 0 : TICK_MS);
        }
        QCOMPARE(d().partIndex, part - 1);
    }

    void setTalking(bool on)
    {
        if (on) {
            QFile(bin.filePath("talking")).open(QIODevice::WriteOnly);
        } else {
            QFile::remove(bin.filePath("talking"));
        }
    }

    bool talking() const
    {
        return QFile::exists(bin.filePath("talking"));
    }

    /// Waits, in real time, for the end of the line.
    void awaitSilence()
    {
        QElapsedTimer limit;
        limit.start();
        while (!demo->speech()->isReady() && limit.elapsed() < 10000) {
            QTest::qWait(1);
        }
        QVERIFY(demo->speech()->isReady());
    }

    QStringList spoken() const
    {
        QFile file(bin.filePath("spoken"));
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    }

    /// The GL name of a user program.
    unsigned int program(const QString& name)
    {
        for (int look = 0; look < NUM_LOOKS; ++look) {
            if (name == LOOKS[look].name) {
                return d().shaderPrograms[look]->programId();
            }
        }
        return 0;
    }

    GlWindow window;
    QTemporaryDir bin;
    std::unique_ptr<DemoMain> demo;
};
