#include "support/logcapture.h"

#include <QMutex>
#include <QMutexLocker>
#include <QVector>

namespace {

struct Line
{
    QtMsgType type;
    QString category;
    QString text;
};

QMutex mutex; // Qt's media and bus threads log too.
QtMessageHandler previous = nullptr;

QVector<Line>& caught()
{
    static QVector<Line> lines;
    return lines;
}

void catchLine(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtFatalMsg) {
        previous(type, context, text);
    }
    QMutexLocker lock(&mutex);
    caught().append(Line{type, QString(context.category), text});
}

template <typename Predicate>
QStringList select(Predicate wanted)
{
    QMutexLocker lock(&mutex);
    QStringList texts;
    for (const Line& line : qAsConst(caught())) {
        if (wanted(line)) {
            texts.append(line.text);
        }
    }
    return texts;
}

} // namespace

LogCapture::LogCapture()
{
    clear();
    previous = qInstallMessageHandler(catchLine);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(previous);
}

QStringList LogCapture::lines() const
{
    return select([](const Line& line) { return line.category == "default"; });
}

QStringList LogCapture::lines(QtMsgType type) const
{
    return select(
        [type](const Line& line) { return line.category == "default" && line.type == type; });
}

QStringList LogCapture::platformLines() const
{
    return select([](const Line& line) { return line.category == "pixmoth.platform"; });
}

void LogCapture::clear()
{
    QMutexLocker lock(&mutex);
    caught().clear();
}
