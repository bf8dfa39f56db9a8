#pragma once

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

class DemoMain;
class QGLWidget;

/// Has a show draw with the shaders and pictures of the source tree instead of those that are
/// compiled in, and loads each anew when it has changed. Of what is missing or wrong the last good
/// one goes on. Files that nothing is drawn with are left alone.
class SourceWatch : public QObject
{
    Q_OBJECT

public:
    /// For a show that is loaded and a surface that has its context, neither owned, which must
    /// outlive this object. `folder` is the one that the compiled-in files were taken from.
    SourceWatch(DemoMain& demo, QGLWidget& surface, const QString& folder);

    /// Loads what is other than when it was last looked at, at first other than what is compiled
    /// in, and watches all of it. From then on each change brings the next look by itself.
    void look();

signals:
    /// `file` is drawn with now; a path from the folder on.
    void loaded(const QString& file);
    /// `file` is not drawn with, for a reason that may have many lines.
    void refused(const QString& file, const QString& reason);

private:
    void watch();
    QSet<QString> takeChanges();
    void loadShaders(const QSet<QString>& changed);
    /// What the driver has against a program of this shader and the vertex shader of all looks, the
    /// last good ones; empty where it makes one.
    QString linkProblem(const QString& fragmentFile) const;
    /// Gives the show such a program wherever it has one.
    void loadPrograms(const QString& fragmentFile);
    void loadDefaultProgram();
    void loadPictures(const QSet<QString>& changed);

    /// Takes the file as it was last looked at for its last good one.
    void keep(const QString& file);
    QString keptPath(const QString& file) const;
    QString keptText(const QString& file) const;

    DemoMain& demo;
    QGLWidget& surface;
    const QString folder;
    QStringList files;                  ///< By their paths from the folder on, like all below.
    QMap<QString, QByteArray> contents; ///< As last looked at; null for a missing file.
    QTemporaryDir kept;                 ///< The last good ones.
    QFileSystemWatcher watcher;
    QTimer settling; ///< Runs while somebody may still be writing.
};
