#include "platform/besidefile.h"

#include "support/files.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

class BesideFileTest : public QObject
{
    Q_OBJECT

private slots:
    void whichOne_data();
    void whichOne();
};

void BesideFileTest::whichOne_data()
{
    QTest::addColumn<bool>("isInstalled");
    QTest::addColumn<bool>("isBeside");
    QTest::addColumn<bool>("wantsBeside");
    QTest::newRow("installed") << true << false << false;
    QTest::newRow("carried about") << false << true << true;
    QTest::newRow("both: the installed one comes first") << true << true << false;
    QTest::newRow("neither: the player tells where it was to be") << false << false << false;
}

void BesideFileTest::whichOne()
{
    QFETCH(bool, isInstalled);
    QFETCH(bool, isBeside);
    QFETCH(bool, wantsBeside);
    const QTemporaryDir folder;
    const QString installed = folder.filePath("besidefiletest.mp3");
    const QDir programs(QCoreApplication::applicationDirPath());
    const QString beside = programs.filePath("besidefiletest.mp3");
    QVERIFY(!isInstalled || writeFile(installed, "installed"));
    QVERIFY(!isBeside || writeFile(beside, "beside"));

    const QString found = platform::installedOrBeside(installed);
    QFile::remove(beside);
    QCOMPARE(found, wantsBeside ? beside : installed);
}

QTEST_GUILESS_MAIN(BesideFileTest)
#include "besidefiletest.moc"
