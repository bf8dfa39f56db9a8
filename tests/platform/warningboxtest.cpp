#include "platform/warningbox.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace {

/// Waits for a modal box from within its own event loop, looks at it and lets `look` close it.
class BoxWatcher : public QObject
{
public:
    explicit BoxWatcher(const std::function<void(QMessageBox&)>& onBox) : look(onBox)
    {
        connect(&timer, &QTimer::timeout, this, &BoxWatcher::poll);
        timer.start(10);
    }

    int seen = 0;

private:
    void poll()
    {
        QWidget* modal = QApplication::activeModalWidget();
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (box) {
            timer.stop();
            seen += 1;
            look(*box);
        } else if (modal) {
            // Of another kind than it should be; open, it would hold the test for ever.
            modal->close();
        }
    }

    std::function<void(QMessageBox&)> look;
    QTimer timer;
};

} // namespace

class WarningBoxTest : public QObject
{
    Q_OBJECT

private slots:
    void boxIsAsAskedFor_data();
    void boxIsAsAskedFor();
    void returnsWhenItIsClosed_data();
    void returnsWhenItIsClosed();
};

void WarningBoxTest::boxIsAsAskedFor_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("of the textures") << "Textures"
                                     << "Texture could not be found: a.jpg";
    QTest::newRow("percent signs") << "%1 %s"
                                   << "100% of %2";
    QTest::newRow("empty text") << "Textures"
                                << "";
}

void WarningBoxTest::boxIsAsAskedFor()
{
    QFETCH(QString, title);
    QFETCH(QString, text);
    QString shownTitle;
    QString shownText;
    QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
    int buttonCount = 0;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    bool modal = false;
    bool orphan = false;
    BoxWatcher watcher([&](QMessageBox& box) {
        shownTitle = box.windowTitle();
        shownText = box.text();
        buttons = box.standardButtons();
        buttonCount = box.buttons().size();
        icon = box.icon();
        modal = box.isModal();
        orphan = box.parentWidget() == nullptr;
        box.button(QMessageBox::Ok)->click();
    });
    platform::showWarningBox(title, text);
    QCOMPARE(watcher.seen, 1);
    QCOMPARE(shownTitle, title);
    QCOMPARE(shownText, text);
    QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(buttonCount, 1);
    QCOMPARE(icon, QMessageBox::Warning);
    QVERIFY(modal);
    QVERIFY(orphan);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void WarningBoxTest::returnsWhenItIsClosed_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("return") << static_cast<int>(Qt::Key_Return);
    QTest::newRow("escape") << static_cast<int>(Qt::Key_Escape);
}

void WarningBoxTest::returnsWhenItIsClosed()
{
    QFETCH(int, key);
    bool returned = false;
    bool openWhileShown = false;
    QPointer<QMessageBox> shown;
    BoxWatcher watcher([&](QMessageBox& box) {
        shown = &box;
        QTest::qWait(20);
        openWhileShown = !returned && box.isVisible();
        QTest::keyClick(&box, static_cast<Qt::Key>(key));
    });
    platform::showWarningBox("Textures", "Texture could not be found: a.jpg");
    returned = true;
    QCOMPARE(watcher.seen, 1);
    QVERIFY(openWhileShown);
    QVERIFY(shown.isNull());
}

QTEST_MAIN(WarningBoxTest)
#include "warningboxtest.moc"
