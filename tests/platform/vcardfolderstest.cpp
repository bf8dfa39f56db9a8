#include "platform/vcardfolders.h"
#include "platform/vcardreader.h"

#include "support/logcapture.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

/// The folders of vCard files; what is read of them is told in addressbooktest.
class VCardFoldersTest : public QObject
{
    Q_OBJECT

private slots:
    void noFolder();
    void timeRunsOutAmongTheFiles();
};

void VCardFoldersTest::noFolder()
{
    QTemporaryDir data;
    const platform::VCardFolders folders(data.path());
    QVERIFY(!folders.exist());
    platform::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    folders.read(reader, QDeadlineTimer(QDeadlineTimer::Forever));
    reader.finish();
    QCOMPARE(reader.labels(), QStringList());
}

void VCardFoldersTest::timeRunsOutAmongTheFiles()
{
    const int count = 2000;
    QTemporaryDir data;
    QVERIFY(QDir(data.path()).mkpath("contacts"));
    for (int i = 0; i < count; ++i) {
        QFile file(data.filePath(QString("contacts/%1.vcf").arg(i)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Anna Smith\r\nEND:VCARD\r\n");
    }
    const platform::VCardFolders folders(data.path());
    QVERIFY(folders.exist());
    // When exactly it runs out depends on the machine: some limit between none and enough does it.
    for (int ms = 1; ms < 10000; ms += 1 + ms / 4) {
        LogCapture log;
        platform::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
        folders.read(reader, QDeadlineTimer(ms, Qt::PreciseTimer));
        reader.finish();
        QVERIFY2(reader.labels().size() < count, "all was read, and no line told of a limit");
        if (!log.platformLines().isEmpty()) {
            QCOMPARE(log.platformLines().size(), 1);
            QVERIFY(log.platformLines().first().contains("No time to read all of the "));
            return;
        }
    }
    QFAIL("time never ran out among the files");
}

QTEST_GUILESS_MAIN(VCardFoldersTest)
#include "vcardfolderstest.moc"
