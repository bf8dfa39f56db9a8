#include "rehearsal.h"

#include "platform/deadline.h"
#include "platform/silentservers.h"
#include "platform/soundsink.h"
#include "platform/suddenexit.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRegularExpression>

#include <cstdio>

namespace {

const int WRONG_USAGE = 2;
const int WAY_OUT_MS = 1500; ///< As in the show itself.

/// What the user asks for.
struct Wishes
{
    QString part = "1";
    QSize size;
    bool loop = false;
    QString resources;
};

int refuse(const QString& reason)
{
    std::fprintf(stderr, "rehearse: %s\n", qPrintable(reason));
    return WRONG_USAGE;
}

/// Reads the command line; the reason where it cannot be followed, else empty.
QString read(const QStringList& arguments, Wishes& wishes)
{
    QCommandLineParser parser;
    parser.addOption({"size", "", "size", "800x480"});
    parser.addOption({"resources", "", "folder", PIXMOTH_RESOURCES});
    parser.addOption({"loop", ""});
    if (!parser.parse(arguments)) {
        return parser.errorText();
    }
    const QStringList parts = parser.positionalArguments();
    if (parts.size() > 1) {
        return "only one part can be named";
    }
    wishes.part = parts.value(0, wishes.part);
    wishes.loop = parser.isSet("loop");

    const QString size = parser.value("size");
    const auto match = QRegularExpression("^([1-9]\\d{0,4})x([1-9]\\d{0,4})$").match(size);
    if (!match.hasMatch()) {
        return QString("'%1' is no size; one is WIDTHxHEIGHT, as in 800x480").arg(size);
    }
    wishes.size = QSize(match.captured(1).toInt(), match.captured(2).toInt());

    wishes.resources = parser.value("resources");
    if (!QFileInfo(wishes.resources + "/shaders").isDir()) {
        return QString("there is no source tree: %1 has no folder 'shaders'").arg(wishes.resources);
    }
    return QString();
}

} // namespace

/// The show as its authors want it: see tools/rehearse.
int main(int argc, char* argv[])
{
    platform::avoidSilentServers();
    platform::provideSoundSink();
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName("pixmoth-rehearse");
    platform::endOnTheSpotAtSuddenExit();

    Wishes wishes;
    const QString problem = read(QCoreApplication::arguments(), wishes);
    if (!problem.isEmpty()) {
        return refuse(problem);
    }

    Rehearsal rehearsal(wishes.resources);
    QObject::connect(&rehearsal, &Rehearsal::told, [](const QString& line) {
        std::printf("%s\n", qPrintable(line));
        std::fflush(stdout);
    });
    QObject::connect(&rehearsal, &Rehearsal::complained,
                     [](const QString& text) { std::fprintf(stderr, "%s\n", qPrintable(text)); });
    // What the show tells of itself would hide what is told here. What it misses is told all the
    // same, in a category of its own, and so is what is wrong with a part.
    QLoggingCategory::setFilterRules("default=false");
    const bool isLoaded = rehearsal.load();
    QLoggingCategory::setFilterRules("default.debug=false");
    if (isLoaded) {
        bool isNumber = false;
        const int part = wishes.part.toInt(&isNumber);
        if (!isNumber || part < 1 || part > rehearsal.numParts()) {
            return refuse(QString("there is no part '%1'; the show has parts 1 to %2")
                              .arg(wishes.part)
                              .arg(rehearsal.numParts()));
        }
        rehearsal.beginAt(part, wishes.loop);
    }
    rehearsal.resize(wishes.size);
    rehearsal.show();
    platform::endOnTheSpotAtSuddenExit();
    const int code = QApplication::exec();
    platform::endWithin(WAY_OUT_MS, code);
    return code;
}
