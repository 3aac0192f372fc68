#include "platform/singleInstance.h"
#include "tests/workspace/window.h"

#include <QWheelEvent>

#include <chrono>
#include <future>
#include <optional>
#include <utility>

namespace {

constexpr char kListed[] = "Click Extract to begin editing files";

} // namespace

TEST(frmMainBrowse, lists_an_archive_into_tree_and_list) {
    const TempGame game;
    makeArchive(game.archive("classic.vl2"), {{"scripts/a.cs", "a"},
                                              {"textures/b.png", "b"},
                                              {"shapes/c.dts", "c"},
                                              {"scripts/d.txt", "d"},
                                              {"folder/", ""},
                                              {"readme.txt", "r"}});
    MainWindow window;
    window.pick("Classic");
    EXPECT_EQ(joined(window.shownTree()),
              "|  readme.txt#8|scripts|  a.cs#8|  d.txt#8|textures|  b.png#4");
    EXPECT_EQ(joined(window.lines()),
              "scripts\\a.cs|textures\\b.png|shapes\\c.dts|scripts\\d.txt|\\readme.txt");
    EXPECT_EQ(joined(window.enabledButtons()), "Extract");
    EXPECT_EQ(window.status(), kListed);
    EXPECT_TRUE(window.isReady());
    EXPECT_EQ(window.form().focusWidget(), window.dropDown()) << "the keyboard stays where it was";
    // An archive with nothing for the tree is listed all the same.
    makeArchive(game.archive("classic.vl2"), {{"shapes/a.dts", "a"}, {"b.dif", "b"}});
    window.pick(0);
    EXPECT_EQ(joined(window.shownTree() + window.enabledButtons()), "");
    EXPECT_EQ(joined(window.lines()), "shapes\\a.dts|\\b.dif");
    EXPECT_EQ(window.status(), kListed);
    EXPECT_TRUE(window.note().contains("nothing that can be edited"));
    makeArchive(game.archive("classic.vl2"), {});
    window.pick(0);
    EXPECT_EQ(joined(window.enabledButtons()), "");
    EXPECT_EQ(window.status(), "The archive holds no files.");
    EXPECT_EQ(window.note(), "");
}

TEST(frmMainBrowse, begins_with_the_archive_that_it_is_given) {
    const TempGame game;
    for (const char *name : {"My Mod.vl2", "other.vl2", "Interiors.vl2"})
        makeArchive(game.archive(name), {{"a.cs", "a"}});
    for (const char *path : {"/my mod.vl2", "/other/my mod.vl2", "/my mod.zip"}) {
        QDir().mkpath(game.root() + "/other");
        makeArchive(game.root() + path, {{"a.cs", "a"}});
    }
    const QString outside = QDir::toNativeSeparators(QDir(game.root()).dirName() + "/my mod");
    const bool linked = makeLink(game.archive("other.vl2").toStdString(),
                                 (game.root() + "/link.vl2").toStdString());
    const std::pair<QString, QString> rows[] = {
        // "" if a box says that it cannot be opened
        {game.folder() + "/GameData/./base/../base//My Mod.vl2", "My Mod"},
        {QDir().relativeFilePath(game.archive("My Mod.vl2")), "My Mod"},
        {game.archive("MY MOD.VL2"), QDir::rootPath() == "/" ? "" : "My Mod"},
        {game.root() + "/link.vl2", linked ? "Other" : ""},
        {game.root() + "/my mod.vl2", outside},
        {game.root() + "/my mod.zip", ""},
        {game.root() + "/none.vl2", ""},
        {game.archive("Interiors.vl2"), ""},
    };
    for (const auto &[path, chosen] : rows) {
        SCOPED_TRACE(path.toStdString());
        const Answers answers;
        MainWindow window;
        window.form().ChooseArchive(path);
        EXPECT_EQ(window.dropDown()->currentText(), chosen);
        EXPECT_EQ(joined(window.shownTree()), chosen.isEmpty() ? "" : "|  a.cs#8");
        EXPECT_EQ(answers.boxes().size(), chosen.isEmpty() ? 1U : 0U);
    }
    // Each outside of the game's folder is saved where it lies, from a work folder of its own.
    MainWindow window;
    const QStringList offered = window.entries();
    for (const QString &path : {game.root() + "/my mod.vl2", game.root() + "/other/my mod.vl2",
                                game.archive("My Mod.vl2")}) {
        window.form().ChooseArchive(path);
        window.click("cmdExtract");
    }
    for (const char *folder : {"My Mod", "other-my mod"})
        EXPECT_EQ(readFile(game.temp() + '/' + folder + "/a.cs"), "a") << folder;
    window.form().ChooseArchive(game.root() + "/other/my mod.vl2");
    writeFile(game.temp() + "/other-my mod/a.cs", "edited");
    window.click("cmdSaveChanges");
    EXPECT_EQ(readArchive(game.root() + "/other/my mod.vl2").at("a.cs"), "edited");
    EXPECT_EQ(readArchive(game.root() + "/my mod.vl2").at("a.cs"), "a");
    EXPECT_EQ(readArchive(game.archive("My Mod.vl2")).at("a.cs"), "a");
    // The same one again, downloaded again meanwhile.
    makeArchive(game.root() + "/other/my mod.vl2", {{"b.cs", "b"}});
    window.form().ChooseArchive(game.root() + "/other/my mod.vl2");
    EXPECT_EQ(joined(window.shownTree()), "|  b.cs#8");
    EXPECT_EQ(MainWindow().entries(), offered) << "for that window only";
}

TEST(frmMainBrowse, comes_to_the_front_with_an_archive_for_a_later_start_unless_it_is_busy) {
    const TempGame game;
    for (const char *name : {"a.vl2", "b.vl2"})
        makeArchive(game.archive(name), {{"a.cs", "a"}});
    const auto start = [](const QString &archive) {
        return std::async(std::launch::async, platform::handOver, archive);
    };
    const auto finish = [](std::future<platform::Handover> answer) {
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
            10'000));
        return answer.get();
    };
    const auto ask = [&](const QString &archive) { return finish(start(archive)); };
    ASSERT_TRUE(platform::becomeInstance());
    auto early = start(game.archive("b.vl2")); // before there is a window
    MainWindow window;
    platform::acceptHandovers(
        &window.form(), [&](const QString &archive) { return window.form().ShowArchive(archive); });
    EXPECT_EQ(finish(std::move(early)), platform::Handover::Shown);
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.dropDown()->currentText() == "B"; }));
    window.form().setEnabled(false);
    EXPECT_EQ(ask(game.archive("a.vl2")), platform::Handover::Busy);
    QCoreApplication::processEvents();
    EXPECT_EQ(window.dropDown()->currentText(), "B");
    window.form().setEnabled(true);
    // Neither in the middle of an action, whose message another process may interrupt.
    window.pick("A");
    window.click("cmdExtract");
    std::optional<bool> shown;
    const Answers answers;
    platform::prompts().messageBox = [&](const QString &, int, const QString &, const QString &) {
        shown = window.form().ShowArchive(game.archive("b.vl2"));
        return platform::kAnswerOk;
    };
    window.click("cmdEditFile");
    EXPECT_EQ(shown, std::optional(false));
    EXPECT_TRUE(window.form().ShowArchive(game.archive("b.vl2")));
}

// A person who types a name to find a file must not select another archive by mistake.
TEST(frmMainBrowse, selects_an_archive_only_in_the_open_list) {
    const TempGame game;
    for (const char *name : {"base.vl2", "textures.vl2"})
        makeArchive(game.archive(name), {{"textures.cs", "a"}});
    MainWindow window;
    window.pick("Base");
    QComboBox *list = window.dropDown();
    QWheelEvent wheel({5, 5}, list->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(list, &wheel);
    EXPECT_EQ(list->currentText(), "Base");
    QTest::keyClick(list, Qt::Key_T);
    EXPECT_TRUE(list->view()->isVisible());
    EXPECT_EQ(list->view()->currentIndex().data().toString(), "Textures");
    EXPECT_EQ(list->currentText(), "Base");
    list->hidePopup();
    EXPECT_EQ(list->currentText(), "Base");
    window.form().activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window.form()));
    for (const bool byKey : {false, true}) {
        list->setFocus();
        if (byKey)
            QTest::keyClick(&window.form(), Qt::Key_E, Qt::AltModifier);
        else
            window.click("cmdExtract");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !window.button("cmdExtract")->isEnabled(); }));
        EXPECT_EQ(window.form().focusWidget(), window.tree());
        window.click("cmdCancel");
    }
}

TEST(frmMainBrowse, gives_each_type_its_icon_and_leaves_out_the_types_of_the_engine) {
    const TempGame game;
    const struct {
        const char *name;
        int image; // 0: in the list only
    } rows[] = {
        {"x.nav", 0}, {"x.bm8", 0}, {"x.spn", 0},  {"x.ter", 0}, {"x.dso", 0},
        {"x.dsq", 0}, {"x.dts", 0}, {"x.DIF", 0},  {"x.png", 4}, {"x.Gif", 4},
        {"x.jpg", 5}, {"x.BMP", 6}, {"x.wav", 7},  {"x.mp3", 7}, {"x.mpg", 7},
        {"x.avi", 7}, {"x.txt", 8}, {"x.mis", 8},  {"x.Cs", 8},  {"x.dml", 8},
        {"x.gui", 8}, {"x.ifl", 8}, {"x.jpeg", 2}, {"ab", 2},    {"dts", 0},
    };
    std::vector<ArchiveFile> files;
    QStringList expected;
    for (const auto &row : rows) {
        files.push_back({QString("f/") + row.name, "x"});
        if (row.image != 0)
            expected.append(QString("  %1#%2").arg(row.name).arg(row.image));
    }
    expected.sort(Qt::CaseInsensitive);
    makeArchive(game.archive("types.vl2"), files);
    MainWindow window;
    window.pick("Types");
    QStringList shown = window.shownTree();
    EXPECT_EQ(shown.takeFirst(), "f");
    shown.sort(Qt::CaseInsensitive);
    EXPECT_EQ(joined(shown), joined(expected));
    EXPECT_EQ(window.lines().size(), static_cast<qsizetype>(files.size()));
}

TEST(frmMainBrowse, gives_an_archive_named_like_a_device_a_work_folder_with_another_name) {
    const TempGame game;
    const std::pair<const char *, const char *> rows[] = {
        {"con", "Con~"}, {"com1 .x", "Com1 ~.x"}, {"con~", "Con~~2"}, {"console", "Console"}};
    makeArchive(game.archive("made"), {{"a.txt", "a"}});
    for (const auto &[name, folder] : rows)
        if (!QFile::copy(game.archive("made"), game.archive(QString(name) + ".vl2")))
            GTEST_SKIP() << "files cannot have such names here";
    MainWindow window;
    for (const auto &[name, folder] : rows) {
        window.pick(frmMain::ProperCase(name));
        window.click("cmdExtract");
        EXPECT_EQ(readFile(game.temp() + '/' + folder + "/a.txt"), "a");
    }
}

TEST(frmMainBrowse, takes_no_file_outside_the_work_folder_for_an_entry_of_the_archive) {
    for (const char *first :
         {"..\\Other\\a.txt", "d/../../Other/a.txt ", ".. /Other/a.txt", "link/a.txt"}) {
        const TempGame game;
        makeArchive(game.archive("base.vl2"), {{first, "a"}, {"b.txt", "b"}});
        QDir().mkpath(game.temp() + "/Base/d");
        writeFile(game.temp() + "/Other/a.txt", QByteArray(12345, 'o'));
        makeLink((game.temp() + "/Other").toStdString(),
                 (game.temp() + "/Base/link").toStdString());
        MainWindow window;
        window.pick("Base");
        EXPECT_EQ(joined(window.enabledButtons()), "Extract") << first;
        for (int folder = 0; folder < window.tree()->model()->rowCount(); ++folder)
            EXPECT_FALSE(window.tip(folder).contains(QLocale().toString(12345))) << first;
    }
}

TEST(frmMainBrowse, says_in_the_status_line_why_an_archive_cannot_be_listed) {
    const TempGame game;
    writeFile(game.archive("text.vl2"), "no archive at all");
    writeFile(game.archive("gone.vl2"), "");
    makeArchive(game.archive("good.vl2"), {{"a.txt", "a"}});
    MainWindow window;
    QFile::remove(game.archive("gone.vl2"));
    for (const char *name : {"Text", "Gone"}) {
        window.pick("Good");
        window.pick(name);
        EXPECT_TRUE(window.status().startsWith("Cannot read the archive: ")) << name;
        EXPECT_GT(window.status().size(), 26) << name;
        EXPECT_EQ(joined(window.shownTree() + window.lines() + window.enabledButtons()), "")
            << name;
        EXPECT_TRUE(window.isReady()) << name;
    }
}

TEST(frmMainBrowse, tells_archives_apart_whose_names_differ_in_case_and_their_work_folders) {
    const TempGame game;
    makeArchive(game.archive("BASE.vl2"), {{"a.txt", "upper"}, {"upper.txt", "u"}});
    if (QFile::exists(game.archive("base.VL2")))
        GTEST_SKIP() << "names of other letter case are the same here";
    makeArchive(game.archive("base.VL2"), {{"a.txt", "lower"}, {"lower.txt", "l"}});
    makeArchive(game.archive("MixedCase.Vl2"), {{"mixed.txt", "m"}});
    MainWindow window;
    EXPECT_EQ(joined(window.entries()), "Base|Base|Mixedcase");
    QStringList seen;
    for (int entry = 0; entry < 3; ++entry) {
        window.pick(entry);
        seen.append(window.lines().last());
        window.click("cmdExtract"); // offered for each, as none is taken for extracted
    }
    seen.sort();
    EXPECT_EQ(joined(seen), "\\lower.txt|\\mixed.txt|\\upper.txt");
    // While one is away, the other one does not get its work.
    for (const char *folder : {"/Base", "/Base~2"})
        if (const QString file = game.temp() + folder + "/upper.txt"; QFile::exists(file))
            writeFile(file, "mine");
    ASSERT_TRUE(QFile::rename(game.archive("BASE.vl2"), game.root() + "/away"));
    MainWindow next;
    next.pick(0);
    next.click("cmdSaveChanges");
    EXPECT_EQ(readArchive(game.archive("base.VL2")).count("upper.txt"), 0U);
    // An archive outside the game's folder, and the folder's own one.
    const QString outside = game.root() + "/maps/a/job.vl2";
    ASSERT_TRUE(QDir().mkpath(QFileInfo(outside).path()));
    makeArchive(outside, {{"a.txt", "outside"}});
    makeArchive(game.archive("a-job.vl2"), {{"a.txt", "a"}});
    MainWindow last;
    last.form().ChooseArchive(outside);
    last.click("cmdExtract");
    last.pick("A-job");
    EXPECT_EQ(joined(last.enabledButtons()), "Extract");
}

TEST(frmMainBrowse, keeps_a_work_folder_for_its_archive_whatever_is_added_or_removed) {
    for (const QByteArray record : {"whole", "damaged", "unreadable"}) {
        const TempGame game;
        // The first one would get the work folder "Base", and sorts first.
        const QString first = game.archive("base .vl2");
        const QString base = game.archive("base.vl2");
        makeArchive(base, {{"a.txt", "base"}});
        {
            MainWindow window;
            window.pick(0);
            window.click("cmdExtract");
            writeFile(game.temp() + "/Base/a.txt", "edited");
        }
        // Its start and its end name the archive.
        const QString file = game.temp() + "/.orvel-Base.record";
        if (record != "whole")
            writeFile(file, record + (record == "damaged" ? readFile(file).mid(7) : ""));
        makeArchive(first, {{"a.txt", "first"}});
        const auto bold = [](const MainWindow &shown, int entry) {
            return shown.dropDown()->itemData(entry, Qt::FontRole).value<QFont>().bold();
        };
        for (const bool removed : {false, true}) {
            if (removed)
                QFile::remove(base);
            MainWindow next;
            EXPECT_FALSE(bold(next, 0));
            next.pick(0);
            EXPECT_EQ(joined(next.enabledButtons()), "Extract");
            next.click("cmdExtract");
            EXPECT_TRUE(bold(next, 0));
            EXPECT_EQ(readFile(game.temp() + "/Base~2/a.txt"), "first");
            next.click("cmdCancel");
            EXPECT_FALSE(bold(next, 0));
            if (removed)
                break;
            EXPECT_EQ(next.dropDown()->itemText(1), "Base");
            next.pick(1);
            if (record == "unreadable") { // both may be its archive
                EXPECT_EQ(joined(next.enabledButtons()), "Extract");
                EXPECT_TRUE(next.note().endsWith("holds work, but its record does not say for "
                                                 "which archive."))
                    << next.note().toStdString();
                break;
            }
            EXPECT_TRUE(bold(next, 1));
            EXPECT_EQ(joined(next.enabledButtons()), kExtracted);
        }
        EXPECT_EQ(readFile(game.temp() + "/Base/a.txt"), "edited");
    }
    // Another game with an archive of that name does not take it over while the first one's disk
    // is not there.
    const TempGame game;
    makeArchive(game.archive("base.vl2"), {{"a.txt", "a"}});
    const QString other = game.root() + "/other";
    ASSERT_TRUE(QDir().mkpath(other + "/GameData/base"));
    makeArchive(other + "/GameData/base/base.vl2", {{"a.txt", "a"}});
    {
        MainWindow window;
        window.pick(0);
        window.click("cmdExtract");
        writeFile(game.temp() + "/Base/a.txt", "edited");
    }
    ASSERT_TRUE(QFile::rename(game.folder(), game.root() + "/not mounted"));
    TempGame::setGameFolder(other);
    MainWindow window;
    window.pick(0);
    EXPECT_EQ(joined(window.enabledButtons()), "Extract");
    EXPECT_EQ(joined(window.boldEntries()), "");
    // A record goes if its archive and its work folder have been away for a long time.
    ASSERT_TRUE(QDir(game.temp() + "/Base").removeRecursively());
    const QString record = game.temp() + "/.orvel-Base.record";
    for (const int days : {10, 100}) {
        setFileTime(pathOf(record), QDateTime::currentSecsSinceEpoch() - days * 86400);
        MainWindow later;
        EXPECT_EQ(QFile::exists(record), days == 10);
        later.pick(0);
        later.click("cmdExtract");
        EXPECT_EQ(QFile::exists(game.temp() + "/Base/a.txt"), days == 100);
        later.click("cmdCancel");
    }
}

TEST(frmMainBrowse, shows_the_state_of_a_file_and_disables_every_action_without_an_archive) {
    const TempGame game;
    makeArchive(game.archive("classic.vl2"), {{"a.txt", QByteArray(5000, 'a')}});
    MainWindow window;
    window.pick("Classic");
    EXPECT_TRUE(window.tip(0).contains("Packed:") && window.tip(0).contains("01"));
    window.click("cmdExtract");
    EXPECT_TRUE(window.tip(0).contains(QLocale().toString(5000))) << window.tip(0).toStdString();
    window.dropDown()->setCurrentIndex(-1);
    window.click("cmdCancel");
    EXPECT_FALSE(window.shownTree().isEmpty());
    EXPECT_EQ(joined(window.enabledButtons()), "");
    EXPECT_EQ(window.status(), "Please select a category.");
    EXPECT_TRUE(QFile::exists(game.temp() + "/Classic/a.txt"));
}
