#include "addressbook/vcardfolders.h"
#include "addressbook/vcardreader.h"

#include "support/files.h"
#include "support/steadyclock.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

const char CARD[] = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Anna Smith\r\nEND:VCARD\r\n";

} // namespace

/// The folders of vCard files; what is read of them is told in addressbooktest.
class VCardFoldersTest : public QObject
{
    Q_OBJECT

private slots:
    void noFolder();
    void timeRunsOutAmongTheFiles();
    void timeRunsOutAmongOtherEntries();
    void linkToMuchElse();
    void onlyRegularFilesAreOpened();
};

void VCardFoldersTest::noFolder()
{
    QTemporaryDir data;
    const addressbook::VCardFolders folders(data.path());
    QVERIFY(!folders.exist());
    addressbook::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    QCOMPARE(folders.read(reader, QDeadlineTimer(QDeadlineTimer::Forever)), QString());
    QCOMPARE(reader.labels(), QStringList());
}

void VCardFoldersTest::timeRunsOutAmongTheFiles()
{
    QTemporaryDir data;
    for (int i = 0; i < 100; ++i) {
        QVERIFY(writeFile(data.filePath(QString("contacts/%1.vcf").arg(i)), CARD));
    }
    const addressbook::VCardFolders folders(data.path());
    QVERIFY(folders.exist());
    addressbook::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    // Enough for all entries, and for half of the files.
    steadyclock::takeOver(1);
    const QString trouble = folders.read(reader, QDeadlineTimer(150, Qt::PreciseTimer));
    steadyclock::giveBack();
    QCOMPARE(trouble, QString("no time to read all vCard files"));
    QVERIFY2(reader.labels().size() >= 40 && reader.labels().size() <= 60,
             qPrintable(QString::number(reader.labels().size())));
}

void VCardFoldersTest::timeRunsOutAmongOtherEntries()
{
    QTemporaryDir data;
    for (int i = 0; i < 200; ++i) {
        QVERIFY(writeFile(data.filePath(QString("contacts/%1/notes.txt").arg(i)), "FN:Anna Smith"));
    }
    const addressbook::VCardFolders folders(data.path());
    addressbook::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    steadyclock::takeOver(1);
    const QString trouble = folders.read(reader, QDeadlineTimer(50, Qt::PreciseTimer));
    const int looks = steadyclock::looks();
    steadyclock::giveBack();
    QCOMPARE(trouble, QString("no time to read all vCard files"));
    QVERIFY2(looks >= 45 && looks <= 55, qPrintable(QString::number(looks)));
}

void VCardFoldersTest::linkToMuchElse()
{
    // The folder itself may be a link, for all we know to the root.
    QTemporaryDir data;
    QVERIFY(writeFile(data.filePath("elsewhere/a.vcf"), CARD));
    QVERIFY(QFile::link(data.filePath("elsewhere"), data.filePath("contacts")));
    QVERIFY(QFile::link("/", data.filePath("kpeoplevcard")));
    const addressbook::VCardFolders folders(data.path());
    addressbook::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(folders.read(reader, QDeadlineTimer(5, Qt::PreciseTimer)),
             QString("no time to read all vCard files"));
    // The whole tree takes seconds.
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
}

void VCardFoldersTest::onlyRegularFilesAreOpened()
{
    QTemporaryDir data;
    QVERIFY(writeFile(data.filePath("contacts/a.vcf"), CARD));
    QVERIFY(writeFile(data.filePath("contacts/b.VCF"), CARD));
    QVERIFY(writeFile(data.filePath("contacts/c.vCard"), CARD));
    QVERIFY(writeFile(data.filePath("contacts/.hidden.vcf"), CARD));
    QVERIFY(writeFile(data.filePath("contacts/empty.vcf"), ""));
    QVERIFY(writeFile(data.filePath("contacts/folder.vcf/d.txt"), CARD));
    const auto link = [&data](const char* to, const char* name) {
        QVERIFY(QFile::link(to, data.filePath(QString("contacts/") + name)));
    };
    link("/dev/zero", "device.vcf");
    // The kernel's, which claims to be empty: who opens it waits for the next message in it.
    link("/proc/kmsg", "system.vcf");
    link("/nonexistent", "nowhere.vcf");
    const QByteArray pipe = QFile::encodeName(data.filePath("contacts/pipe.vcf"));
    QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
    const QByteArray socket = QFile::encodeName(data.filePath("contacts/socket.vcf"));
    QCOMPARE(mknod(socket.constData(), S_IFSOCK | 0600, 0), 0);

    const addressbook::VCardFolders folders(data.path());
    addressbook::VCardReader reader{QDeadlineTimer(QDeadlineTimer::Forever)};
    QCOMPARE(folders.read(reader, QDeadlineTimer(QDeadlineTimer::Forever)), QString());
    QCOMPARE(reader.labels(), QStringList({"Anna Smith", "Anna Smith", "Anna Smith"}));
}

QTEST_GUILESS_MAIN(VCardFoldersTest)
#include "vcardfolderstest.moc"
