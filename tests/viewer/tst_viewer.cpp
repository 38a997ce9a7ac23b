#include "viewer/qtquick2applicationviewer.h"

#include <QCoreApplication>
#include <QDir>
#include <QQuickItem>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// A scene of one item that names the place it was loaded from.
void writeScene(const QString &path, const QString &name)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("import QtQuick 2.15\nItem { objectName: \"%1\" }\n").arg(name).toUtf8());
}

} // namespace

class TestViewer : public QObject
{
    Q_OBJECT

private slots:
    // The place below the executable's parent folder is tried first, the path as given second.
    void lookupOrder_data()
    {
        QTest::addColumn<bool>("absolute");
        QTest::addColumn<bool>("belowAppParent");
        QTest::addColumn<bool>("asGiven");
        QTest::addColumn<QString>("loaded");

        QTest::newRow("relative, both exist: below the app's parent wins") << false << true << true << "candidate";
        QTest::newRow("relative, only as given: relative to the working folder") << false << false << true << "given";
        QTest::newRow("absolute, mirrored below the app's parent: the mirror wins") << true << true << true << "candidate";
        QTest::newRow("absolute, no mirror: used as it is") << true << false << true << "given";
        QTest::newRow("nothing exists: the path as given, empty scene") << false << false << false << "";
    }

    void lookupOrder()
    {
        QFETCH(bool, absolute);
        QFETCH(bool, belowAppParent);
        QFETCH(bool, asGiven);
        QFETCH(QString, loaded);

        QTemporaryDir work;
        const QString unique = QStringLiteral("viewer-lookup-%1").arg(QCoreApplication::applicationPid());
        const QString given = absolute ? work.filePath(QStringLiteral("scene/Main.qml"))
                                       : unique + QStringLiteral("/Main.qml");
        const QString savedCwd = QDir::currentPath();
        QDir::setCurrent(work.path());

        const QString candidate = QCoreApplication::applicationDirPath() + QStringLiteral("/../") + given;
        const QString candidateRoot = QCoreApplication::applicationDirPath() + QStringLiteral("/../")
            + (absolute ? work.path().section(QLatin1Char('/'), 0, 1) : unique);
        if (belowAppParent)
            writeScene(candidate, QStringLiteral("candidate"));
        if (asGiven)
            writeScene(given, QStringLiteral("given"));

        {
            QtQuick2ApplicationViewer viewer;
            if (loaded.isEmpty())
                QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Main.qml")));
            viewer.setMainQmlFile(given);
            QCOMPARE(viewer.source(), QUrl::fromLocalFile(belowAppParent ? candidate : given));
            QCOMPARE(viewer.rootObject() ? viewer.rootObject()->objectName() : QString(), loaded);
        }

        if (belowAppParent)
            QDir(candidateRoot).removeRecursively();
        QDir::setCurrent(savedCwd);
    }
};

QTEST_MAIN(TestViewer)
#include "tst_viewer.moc"
