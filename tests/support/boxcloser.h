#pragma once

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QString>
#include <QTimer>
#include <QVector>
#include <QWidget>

/// Closes every modal window as soon as it stands, and keeps what it said: a box that the code
/// under test opens waits for someone to close it.
class BoxCloser
{
public:
    struct Box
    {
        QString title;
        QString text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QMessageBox::StandardButtons buttons;
        bool hasParent = false;
    };

    BoxCloser()
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { closeBox(); });
        timer.start(1);
    }

    QVector<Box> boxes() const
    {
        return closed;
    }

private:
    void closeBox()
    {
        QWidget* window = QApplication::activeModalWidget();
        if (!window) {
            return;
        }
        Box box;
        box.title = window->windowTitle();
        box.hasParent = window->parent();
        if (auto* message = qobject_cast<QMessageBox*>(window)) {
            box.text = message->text();
            box.icon = message->icon();
            box.buttons = message->standardButtons();
        }
        closed.append(box);
        if (auto* dialog = qobject_cast<QDialog*>(window)) {
            // A box may refuse close(), where no button of it is the one for Escape.
            dialog->done(0);
        } else {
            window->close();
        }
    }

    QTimer timer;
    QVector<Box> closed;
};

/// Fails the test unless the only box so far was the warning that the engine shows.
#define COMPARE_ONLY_BOX(closer, expectedText)                                                     \
    do {                                                                                           \
        QCOMPARE((closer).boxes().size(), 1);                                                      \
        const BoxCloser::Box box_ = (closer).boxes().first();                                      \
        QCOMPARE(box_.title, QString("Textures"));                                                 \
        QCOMPARE(box_.text, QString(expectedText));                                                \
        QCOMPARE(box_.icon, QMessageBox::Warning);                                                 \
        QCOMPARE(box_.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));                     \
        QVERIFY(!box_.hasParent);                                                                  \
    } while (false)
