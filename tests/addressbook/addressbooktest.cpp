#include "platform/busconnection.h"
#include "support/fakeservice.h"
#include "support/files.h"
#include "support/privatebus.h"
#include "support/probe.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/stat.h>

namespace {

const char SOURCES[] = "org.gnome.evolution.dataserver.Sources5";
const char BOOKS[] = "org.gnome.evolution.dataserver.AddressBook10";
const char FACTORY[] = "org.gnome.evolution.dataserver.AddressBookFactory";
const char BOOK[] = "org.gnome.evolution.dataserver.AddressBook";
const char SOURCE[] = "org.gnome.evolution.dataserver.Source";
/// Where the services of the session are installed.
const char SERVICES[] = "/usr/share/dbus-1/services";

/// The address book may hold up the show for 900 ms; the rest is for sanitizers.
const int LIMIT_MS = 1500;

QByteArray card(const QByteArray& lines)
{
    return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// A book of one.
QStringList cardOf(const QByteArray& name)
{
    return {QString::fromUtf8(card("FN:" + name))};
}

QString numbered(int i)
{
    return QString("Friend%1 Of Many").arg(i);
}

/// Cards as they come from a phone, with more in them than a name.
QStringList manyCards(int count)
{
    QStringList cards;
    for (int i = 0; i < count; ++i) {
        cards.append(QString::fromUtf8(card("FN:" + numbered(i).toUtf8() +
                                            "\r\nN:Many;Friend;;;\r\nTEL;TYPE=CELL:+358401234567"
                                            "\r\nEMAIL;TYPE=HOME:friend@example.org"
                                            "\r\nNOTE:Met on the ferry.\\nOwes me a book.")));
    }
    return cards;
}

QString source(const QString& parent, const QString& rest, const QString& enabled = "true")
{
    return "\n[Data Source]\nDisplayName=Some\nDisplayName[de]=Ein\nEnabled=" + enabled +
           "\nParent=" + parent + "\n\n" + rest;
}

} // namespace

/// The address book as the show comes by it: a manager without a name, in a process of its own.
class AddressBookTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void nothingThere();
    void whatIsMissingIsOneLine_data();
    void whatIsMissingIsOneLine();
    void choiceOfTheUserWins_data();
    void choiceOfTheUserWins();
    void foldersOfCards();
    void oneContactBeforeAll();
    void strangeFiles();
    void manyFiles();

    void evolution();
    void evolutionWithThousands();
    void evolutionFrozen();
    void evolutionFrozenInTheMiddle();

    void newestInterfaceIsAsked();
    void booksThatCount();
    void slowBookHoldsNothingUp();
    void silentServer_data();
    void silentServer();
    void foldersStandInForTheServer();
    void foldersAreLeftAloneWhereTheServerHasNames();
    void strangeAnswers_data();
    void strangeAnswers();
    void twentyThousand();
    void frozenBus();
    void busThatKeepsItsNames();

private:
    void write(const QString& path, const QByteArray& content);
    /// Has the probe find the bus, which is alive.
    void useBus();
    bool startBus();
    /// A bus with the real server behind it, which begins with an empty book.
    bool startEvolution();
    void addContacts(const QStringList& cards);
    int run(const QString& name);

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<Probe> probe;
    bool busIsWell = false; ///< It is there, and answers.
};

/// A server of the test's own: it tells the sources that it is given, and answers for their books.
class FakeEvolution
{
public:
    explicit FakeEvolution(PrivateBus& bus) : connection(bus.connection())
    {
        connection.registerService(BOOKS);
        service = std::make_unique<FakeService>(
            connection, SOURCES, [this](const QDBusMessage& message) { return answer(message); });
    }

    ~FakeEvolution()
    {
        connection.unregisterService(BOOKS);
    }

    void addBook(const QString& uid, const QStringList& cards)
    {
        sources[uid] = source("", "[Address Book]\nBackendName=local\n");
        books[uid] = cards;
    }

    QMap<QString, QString> sources;
    QMap<QString, QStringList> books;
    /// "method uid" that gets no answer.
    QString silence;
    /// "method uid" that is refused.
    QString refusal;
    /// "method uid" that gets an answer of another kind.
    QString nonsense;
    std::unique_ptr<FakeService> service;

private:
    QDBusMessage answer(const QDBusMessage& message)
    {
        QString uid = message.path().section('/', -1).replace('_', '-');
        if (message.member() == "OpenAddressBook") {
            uid = message.arguments().constFirst().toString();
        }
        const QString step = message.member() + ' ' + uid;
        const QMap<QString, QString> interfaces = {
            {"GetManagedObjects", "org.freedesktop.DBus.ObjectManager"},
            {"OpenAddressBook", FACTORY},
            {"Open", BOOK},
            {"GetContactList", BOOK},
            {"Close", BOOK}};
        if (message.interface() != interfaces.value(message.member())) {
            return message.createErrorReply("org.example.No", "No such interface");
        }
        if (step == silence) {
            return QDBusMessage();
        }
        if (step == refusal) {
            return message.createErrorReply("org.example.No", "The account is locked");
        }
        if (step == nonsense) {
            return message.createReply(QVariantList{QVariantMap{{"a", 1}}, 2});
        }
        if (message.member() == "GetManagedObjects") {
            platform::ManagedObjects objects;
            for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
                const QString path = QString("/source/Source_%1").arg(objects.size());
                objects[QDBusObjectPath(path)][SOURCE] = {{"UID", source.key()},
                                                          {"Data", source.value()}};
            }
            return message.createReply(QVariant::fromValue(objects));
        }
        if (message.member() == "OpenAddressBook") {
            return message.createReply(
                QVariantList{"/book/" + uid.replace('-', '_'), connection.baseService()});
        }
        if (message.member() == "Open") {
            return message.createReply(QStringList{"writable:true"});
        }
        if (message.member() == "GetContactList") {
            return message.createReply(books.value(uid));
        }
        return message.createReply();
    }

    QDBusConnection connection;
};

void AddressBookTest::initTestCase()
{
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<platform::ManagedObjects>();
}

void AddressBookTest::init()
{
    // By these names: the tests with the real server.
    if (QByteArray(QTest::currentTestFunction()).startsWith("evolution") &&
        QDir(SERVICES).entryList({QString(BOOK) + "*"}).isEmpty()) {
        QSKIP("Package evolution-data-server is not installed");
    }
    folder = std::make_unique<QTemporaryDir>();
    bus = std::make_unique<PrivateBus>();
    probe = std::make_unique<Probe>();
    probe->environment.insert("XDG_DATA_HOME", folder->filePath("data"));
    busIsWell = false;
}

void AddressBookTest::cleanup()
{
    probe.reset();
    bus.reset();
}

void AddressBookTest::write(const QString& path, const QByteArray& content)
{
    QVERIFY(writeFile(folder->filePath("data/" + path), content));
}

void AddressBookTest::useBus()
{
    probe->environment.insert("DBUS_SESSION_BUS_ADDRESS", bus->address());
    busIsWell = true;
}

bool AddressBookTest::startBus()
{
    const bool started = bus->start();
    useBus();
    return started;
}

/// Has the probe read the book; how long that took, in milliseconds. For a failed run -1. It reads
/// anew where that took too long, or where a bus that is well gave no sign of life in time.
int AddressBookTest::run(const QString& name)
{
    for (int i = 0; i < Probe::ATTEMPTS; ++i) {
        probe = probe->again();
        if (!probe->start("contacts") || probe->answer("saved").isNull() || !probe->waitForEnd()) {
            return -1;
        }
        const int ms = probe->all("ms").value(0).toInt();
        printf("           %s: %s names in %i ms\n", qPrintable(name),
               qPrintable(probe->all("count").value(0)), ms);
        const bool busSeen = !busIsWell || probe->platformLog().filter("no session bus").isEmpty();
        // Nothing else may happen while the show is built.
        if (probe->all("loops") != QStringList{"0"}) {
            return -1;
        }
        if (busSeen && ms < LIMIT_MS) {
            return ms;
        }
    }
    return -1;
}

void AddressBookTest::nothingThere()
{
    const int ms = run("nothing there");
    QVERIFY(ms >= 0);
    QCOMPARE(probe->all("manager"), QStringList{"pixmoth"});
    QCOMPARE(probe->all("error"), QStringList{"0"});
    QCOMPARE(probe->all("count"), QStringList{"0"});
    // What is not in the book is not found, and nothing can be written to it.
    QCOMPARE(probe->all("stranger"), QStringList{"1"});
    QCOMPARE(probe->all("saved"), QStringList{"0"});
    QCOMPARE(probe->all("version"), QStringList{"1"});
    QCOMPARE(probe->platformLog(),
             QStringList{"pixmoth.platform: No contacts: no session bus to ask for address books"});
}

void AddressBookTest::whatIsMissingIsOneLine_data()
{
    QTest::addColumn<bool>("hasBus");
    QTest::addColumn<QString>("silence");
    QTest::addColumn<QByteArray>("inFolder");
    QTest::addColumn<QString>("line");
    QTest::newRow("no bus, no folder")
        << false << "" << QByteArray() << "No contacts: no session bus to ask for address books";
    QTest::newRow("no bus, nobody in the folder")
        << false << "" << card("TEL:1") << "No contacts: no session bus to ask for address books";
    QTest::newRow("no bus, names in the folder")
        << false << "" << card("FN:Anna")
        << "Not all contacts: no session bus to ask for address books";
    QTest::newRow("no server") << true << "" << QByteArray()
                               << "No contacts: the address book is empty";
    QTest::newRow("no server, names in the folder") << true << "" << card("FN:Anna") << "";
    QTest::newRow("silent server") << true << "Open system-address-book" << QByteArray()
                                   << "No contacts: 1 of 1 address books cannot be read (";
    QTest::newRow("silent server, names in the folder")
        << true << "Open system-address-book" << card("FN:Anna")
        << "Not all contacts: 1 of 1 address books cannot be read (";
    QTest::newRow("silent registry")
        << true << "GetManagedObjects SourceManager" << QByteArray()
        << "No contacts: " + QString(SOURCES) + " does not tell its address books (";
}

void AddressBookTest::whatIsMissingIsOneLine()
{
    // As the show asks, which has something to say of empty books itself.
    QFETCH(bool, hasBus);
    QFETCH(QString, silence);
    QFETCH(QByteArray, inFolder);
    QFETCH(QString, line);
    QVERIFY(!hasBus || startBus());
    std::unique_ptr<FakeEvolution> server;
    if (!silence.isEmpty()) {
        server = std::make_unique<FakeEvolution>(*bus);
        server->addBook("system-address-book", {});
        server->silence = silence;
    }
    if (!inFolder.isEmpty()) {
        write("contacts/a.vcf", inFolder);
    }
    QVERIFY(probe->start("friends"));
    QVERIFY(!probe->answer("name").isNull());
    QVERIFY(probe->waitForEnd());
    const QStringList log = probe->platformLog();
    QVERIFY2(log.size() == (line.isEmpty() ? 0 : 1), qPrintable(log.join('\n')));
    QVERIFY2(line.isEmpty() || log.first().startsWith("pixmoth.platform: " + line),
             qPrintable(log.join('\n')));
}

void AddressBookTest::choiceOfTheUserWins_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("manager");
    QTest::newRow("another store") << "memory"
                                   << "memory";
    QTest::newRow("a store that is not there") << "nosuchbook"
                                               << "invalid";
    QTest::newRow("none") << ""
                          << "pixmoth";
}

void AddressBookTest::choiceOfTheUserWins()
{
    QFETCH(QString, choice);
    QFETCH(QString, manager);
    write("contacts/a.vcf", card("FN:Anna Smith"));
    probe->environment.insert("QTCONTACTS_MANAGER_OVERRIDE", choice);
    QVERIFY(run("chosen " + choice) >= 0);
    QCOMPARE(probe->all("manager"), QStringList{manager});
    QCOMPARE(probe->all("count"), QStringList{choice.isEmpty() ? "1" : "0"});
}

void AddressBookTest::foldersOfCards()
{
    write("kpeoplevcard/phone-1/b.vcf", card("FN:Berta Bold"));
    write("kpeoplevcard/phone-1/a.vcard", card("FN:Anna Smith") + card("N:Zed;Xaver;;;"));
    write("contacts/friends/c.vcf", card("NICKNAME:Caesar"));
    write("contacts/friends/readme.txt", card("FN:Not A Card"));
    write("elsewhere/d.vcf", card("FN:Somebody Else"));
    QVERIFY(run("folders") >= 0);
    QCOMPARE(probe->all("label"), QStringList({"Caesar", "Anna Smith", "Xaver Zed", "Berta Bold"}));
    QCOMPARE(probe->all("backwards"),
             QStringList({"Xaver Zed", "Caesar", "Berta Bold", "Anna Smith"}));
    QCOMPARE(probe->all("nobody"), QStringList{"0"});
    QCOMPARE(probe->platformLog().size(), 1); // That there is no bus.
}

void AddressBookTest::oneContactBeforeAll()
{
    write("contacts/a.vcf", card("FN:Anna Smith"));
    QVERIFY(probe->start("contact"));
    QCOMPARE(probe->answer("label"), QString("Anna Smith"));
    QVERIFY(probe->waitForEnd());
}

void AddressBookTest::strangeFiles()
{
    write("contacts/a.vcf", card("FN:Anna Smith"));
    write("contacts/empty.vcf", "");
    write("contacts/garbage.vcf", QByteArray(100000, '\xfe'));
    write("contacts/broken.vcf", "BEGIN:VCARD\r\nFN:Broken Off");
    write("contacts/large.vcf",
          card("FN:Too Large\r\nPHOTO;ENCODING=b:" + QByteArray(50 * 1000 * 1000, 'A')));
    write("contacts/photo.vcf",
          card("PHOTO;ENCODING=b:" + QByteArray(5 * 1000 * 1000, 'A') + "\r\nFN:With Photo"));
    const QString data = folder->filePath("data");
    QVERIFY(QDir().mkpath(data + "/contacts/folder.vcf"));
    QVERIFY(QFile::link(data + "/contacts", data + "/contacts/round"));
    QVERIFY(QFile::link(data + "/contacts/nowhere", data + "/contacts/dangling.vcf"));
    QCOMPARE(mkfifo(qPrintable(data + "/contacts/pipe.vcf"), 0600), 0);
    QVERIFY(QFile::link("/dev/zero", data + "/contacts/endless.vcf"));
    const int ms = run("strange files");
    QVERIFY(ms >= 0);
    QCOMPARE(probe->all("label"), QStringList({"Anna Smith", "Broken Off", "With Photo"}));
    QCOMPARE(probe->platformLog().size(), 1);
    QVERIFY2(probe->platformLog().last().contains("1 vCard files are too large"),
             qPrintable(probe->platformLog().last()));
}

void AddressBookTest::manyFiles()
{
    const QStringList cards = manyCards(3000);
    for (int i = 0; i < cards.size(); ++i) {
        write(QString("contacts/%1.vcf").arg(i), cards.at(i).toUtf8());
    }
    const int ms = run("3,000 files");
    QVERIFY(ms >= 0);
    QVERIFY(probe->all("count").value(0).toInt() >= 50);
}

bool AddressBookTest::startEvolution()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable :
         {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
        const QString path = folder->filePath(QString("server/") + variable);
        QDir().mkpath(path);
        environment.insert(variable, path);
    }
    environment.remove("DISPLAY");
    environment.insert("GSETTINGS_BACKEND", "memory");
    // The sanitizers of this process are not the server's.
    environment.remove("LD_PRELOAD");
    const bool started = bus->start({SERVICES}, environment);
    useBus();
    return started;
}

void AddressBookTest::addContacts(const QStringList& cards)
{
    const QDBusMessage opened =
        bus->call(BOOKS, "/org/gnome/evolution/dataserver/AddressBookFactory", FACTORY,
                  "OpenAddressBook", {"system-address-book"});
    QVERIFY2(opened.type() == QDBusMessage::ReplyMessage, qPrintable(opened.errorMessage()));
    const QString path = opened.arguments().value(0).toString();
    const QString service = opened.arguments().value(1).toString();
    QCOMPARE(bus->call(service, path, BOOK, "Open").type(), QDBusMessage::ReplyMessage);
    const QDBusMessage added =
        bus->call(service, path, BOOK, "CreateContacts", {cards, QVariant::fromValue(0u)});
    QVERIFY2(added.type() == QDBusMessage::ReplyMessage, qPrintable(added.errorMessage()));
}

void AddressBookTest::evolution()
{
    QVERIFY(startEvolution());
    const int cold = run("Evolution, cold, empty book");
    QVERIFY(cold >= 0);
    QCOMPARE(probe->all("count"), QStringList{"0"});

    addContacts({QString::fromUtf8(card("FN:Anna Smith\r\nN:Smith;Anna;;;")),
                 QString::fromUtf8(card("FN:J\xc3\xb6rg M\xc3\xbcller")),
                 QString::fromUtf8(card("NICKNAME:Caesar")),
                 QString::fromUtf8(card("FN:The Team\r\nX-EVOLUTION-LIST:TRUE"))});
    for (const char* name : {"Evolution, warm, 3 contacts", "Evolution, again"}) {
        probe = std::make_unique<Probe>();
        useBus();
        const int ms = run(name);
        QVERIFY(ms >= 0);
        QStringList labels = probe->all("label");
        labels.sort();
        QCOMPARE(labels, QStringList({"Anna Smith", "Caesar", QString::fromUtf8("Jörg Müller")}));
        QCOMPARE(probe->platformLog(), QStringList());
    }
}

void AddressBookTest::evolutionWithThousands()
{
    QVERIFY(startEvolution());
    addContacts(manyCards(2000));
    int most = 0;
    for (const char* name : {"Evolution, 2,000 contacts", "Evolution, again"}) {
        probe = std::make_unique<Probe>();
        useBus();
        const int ms = run(name);
        QVERIFY(ms >= 0);
        const int count = probe->all("count").value(0).toInt();
        QCOMPARE(probe->platformLog().size(), count == 2000 ? 0 : 1);
        most = qMax(most, count);
    }
    QVERIFY2(most >= 100, qPrintable(QString::number(most)));
}

void AddressBookTest::evolutionFrozen()
{
    QVERIFY(startEvolution());
    addContacts(manyCards(3));
    const QString name = BOOKS;
    const auto process = static_cast<pid_t>(bus->processOf(name));
    QVERIFY(process > 0);
    QCOMPARE(::kill(process, SIGSTOP), 0);
    const int ms = run("Evolution, frozen");
    ::kill(process, SIGCONT);
    QVERIFY2(ms >= 500, qPrintable(QString::number(ms)));
    QCOMPARE(probe->all("count"), QStringList{"0"});
    QCOMPARE(probe->platformLog().size(), 1);
    QVERIFY2(probe->platformLog().first().contains("1 of 1 address books cannot be read"),
             qPrintable(probe->platformLog().first()));
}

void AddressBookTest::evolutionFrozenInTheMiddle()
{
    QVERIFY(startEvolution());
    addContacts(manyCards(2000));
    const auto process = static_cast<pid_t>(bus->processOf(BOOKS));
    QVERIFY(process > 0);
    for (int delay : {10, 25, 45}) {
        probe = std::make_unique<Probe>();
        useBus();
        QVERIFY(probe->start("contacts"));
        QTest::qSleep(delay);
        QCOMPARE(::kill(process, SIGSTOP), 0);
        const QString ms = probe->answer("ms");
        ::kill(process, SIGCONT);
        QVERIFY(probe->waitForEnd());
        // The bus library alone would wait for 25 s.
        QVERIFY2(!ms.isNull() && ms.toInt() < 10000, qPrintable(ms));
        const int count = probe->all("count").value(0).toInt();
        printf("           Evolution, frozen after %i ms: %i names in %s ms\n", delay, count,
               qPrintable(ms));
        QVERIFY(count == 2000 || probe->platformLog().size() == 1);
    }
}

void AddressBookTest::newestInterfaceIsAsked()
{
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    server.addBook("system-address-book", cardOf("Anna Smith"));
    // Names of other releases, which nobody answers for, and such as only look like them.
    QStringList asked;
    QDBusConnection older = QDBusConnection::connectToBus(bus->address(), "older");
    const QString prefix = "org.gnome.evolution.dataserver.";
    FakeService former(older, prefix + "Sources4", [&asked](const QDBusMessage& message) {
        asked.append(message.member());
        return QDBusMessage();
    });
    older.registerService(prefix + "AddressBook9");
    older.registerService(prefix + "Sources6Old");
    older.registerService(prefix + "SourcesX");
    QVERIFY(run("two releases") >= 0);
    QCOMPARE(probe->all("label"), QStringList{"Anna Smith"});
    QCOMPARE(asked, QStringList());
    QDBusConnection::disconnectFromBus("older");
    QCOMPARE(probe->platformLog(), QStringList());
    // Tidied up at the end.
    QTRY_VERIFY(server.service->calls().contains("Close"));
    for (const QString& call : server.service->calls()) {
        QVERIFY2(!call.startsWith("Create") && !call.startsWith("Modify") &&
                     !call.startsWith("Remove"),
                 qPrintable(call));
    }
}

void AddressBookTest::booksThatCount()
{
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    const QString book("[Address Book]\nBackendName=carddav\n");
    const auto add = [&server](const QString& uid, const QString& data) {
        server.addBook(uid, {QString::fromUtf8(card("FN:Of " + uid.toUtf8()))});
        server.sources[uid] = data;
    };
    add("aa-account", source("", "[Collection]\nBackendName=google\n"));
    add("ab-off-account", source("", "[Collection]\nBackendName=google\n", "false"));
    add("ba-online", source("aa-account", book));
    add("bb-of-the-account-that-is-off", source("ab-off-account", book));
    add("bc-off", source("aa-account", book, "false"));
    add("bd-directory", source("", "[Address Book]\nBackendName=ldap\n"));
    add("be-calendar", source("", "[Calendar]\nBackendName=local\n"));
    add("bf-own-parent", source("bf-own-parent", book));
    add("bg-no-word-of-enabled", "[Data Source]\nParent=gone\n\n[Address Book]\n");
    add("system-address-book", source("", "[Address Book]\nBackendName=local\n"));
    QVERIFY(run("many sources") >= 0);
    QCOMPARE(probe->all("label"), QStringList({"Of system-address-book", "Of ba-online",
                                               "Of bf-own-parent", "Of bg-no-word-of-enabled"}));
    QCOMPARE(probe->platformLog(), QStringList());
}

void AddressBookTest::slowBookHoldsNothingUp()
{
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    server.addBook("a-slow", cardOf("Never Told"));
    server.addBook("b-quick", cardOf("Anna Smith"));
    server.addBook("system-address-book", cardOf("Berta Bold"));
    server.silence = "Open a-slow";
    server.refusal = "OpenAddressBook c-locked";
    server.addBook("c-locked", cardOf("Never Told"));
    const int ms = run("one book silent, one locked");
    QVERIFY(ms >= 0);
    QCOMPARE(probe->all("label"), QStringList({"Berta Bold", "Anna Smith"}));
    QCOMPARE(probe->platformLog().size(), 1);
    QVERIFY2(probe->platformLog().first().contains("2 of 4 address books cannot be read"),
             qPrintable(probe->platformLog().first()));
}

void AddressBookTest::silentServer_data()
{
    QTest::addColumn<QString>("silence");
    QTest::newRow("registry") << "GetManagedObjects SourceManager";
    QTest::newRow("factory") << "OpenAddressBook system-address-book";
    QTest::newRow("opening") << "Open system-address-book";
    QTest::newRow("reading") << "GetContactList system-address-book";
}

void AddressBookTest::silentServer()
{
    QFETCH(QString, silence);
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    server.addBook("system-address-book", cardOf("Anna Smith"));
    server.silence = silence;
    const int ms = run("silent at " + silence);
    QVERIFY2(ms >= 800, qPrintable(QString::number(ms)));
    QCOMPARE(probe->all("count"), QStringList{"0"});
    QCOMPARE(probe->platformLog().size(), 1);
}

void AddressBookTest::foldersStandInForTheServer()
{
    QVERIFY(startBus());
    write("kpeoplevcard/a.vcf", card("FN:From The Folder"));
    FakeEvolution server(*bus);
    server.addBook("system-address-book", cardOf("Anna Smith"));
    server.silence = "GetContactList system-address-book";
    const int ms = run("silent server, folders there");
    QVERIFY2(ms >= 500, qPrintable(QString::number(ms)));
    QCOMPARE(probe->all("label"), QStringList{"From The Folder"});
}

void AddressBookTest::foldersAreLeftAloneWhereTheServerHasNames()
{
    QVERIFY(startBus());
    write("kpeoplevcard/a.vcf", card("FN:From The Folder"));
    FakeEvolution server(*bus);
    server.addBook("system-address-book", cardOf("Anna Smith"));
    QVERIFY(run("server and folders") >= 0);
    QCOMPARE(probe->all("label"), QStringList{"Anna Smith"});
}

void AddressBookTest::strangeAnswers_data()
{
    silentServer_data();
}

void AddressBookTest::strangeAnswers()
{
    QFETCH(QString, silence);
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    server.addBook("a-sound", cardOf("Anna Smith"));
    server.addBook("system-address-book", {"no card", "", QString::fromUtf8(card("FN:X Y"))});
    server.nonsense = silence;
    const int ms = run("nonsense at " + silence);
    QVERIFY(ms >= 0);
    const QStringList labels = probe->all("label");
    if (silence.startsWith("GetManagedObjects")) {
        QCOMPARE(labels, QStringList());
    } else if (silence.startsWith("Open ")) {
        // What opening answers with is not looked at.
        QCOMPARE(labels, QStringList({"X Y", "Anna Smith"}));
    } else {
        QCOMPARE(labels, QStringList{"Anna Smith"});
        QCOMPARE(probe->platformLog().size(), 1);
    }
}

void AddressBookTest::twentyThousand()
{
    QVERIFY(startBus());
    FakeEvolution server(*bus);
    server.addBook("system-address-book", manyCards(20000));
    const int ms = run("20,000 contacts");
    QVERIFY(ms >= 0);
    const int count = probe->all("count").value(0).toInt();
    QVERIFY2(count >= 100, qPrintable(QString::number(count)));
    QCOMPARE(probe->all("label").value(0), numbered(0));
    QCOMPARE(probe->platformLog().size(), count == 20000 ? 0 : 1);
}

void AddressBookTest::frozenBus()
{
    QVERIFY(startBus());
    busIsWell = false;
    bus->freeze();
    const int ms = run("frozen bus");
    bus->thaw();
    QVERIFY(ms >= 0);
    QCOMPARE(probe->all("count"), QStringList{"0"});
    QCOMPARE(probe->platformLog().filter("No contacts: no session bus").size(), 1);
}

void AddressBookTest::busThatKeepsItsNames()
{
    QVERIFY(bus->start({}, QProcessEnvironment::systemEnvironment(),
                       "<deny send_destination=\"org.freedesktop.DBus\""
                       " send_interface=\"org.freedesktop.DBus\""
                       " send_member=\"ListActivatableNames\"/>"));
    useBus();
    write("contacts/a.vcf", card("FN:Anna Smith"));
    QVERIFY(run("bus that keeps its names") >= 0);
    QCOMPARE(probe->all("label"), QStringList{"Anna Smith"});
    QCOMPARE(probe->platformLog().size(), 1);
    QVERIFY(probe->platformLog().first().contains("does not tell its names"));
}

QTEST_GUILESS_MAIN(AddressBookTest)
#include "addressbooktest.moc"
