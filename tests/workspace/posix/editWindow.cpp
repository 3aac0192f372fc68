#include "tests/workspace/editWindow.h"

#include <QFile>
#include <QFileInfo>

const char *const EditWindow::kOddFolder = "the \"6.0\" one";
const char *const EditWindow::kOddName = "say \"hi\" $HOME `touch x`;.png";

// Without the quotes, each argument ended by a NUL.
std::string EditWindow::commandLine(const QString &program, std::string form,
                                    const std::string &file) {
    std::erase(form, '"');
    if (const std::size_t blank = form.find(' '); blank != std::string::npos)
        form[blank] = '\0';
    form.replace(form.find('@'), 1, file);
    return program.toStdString() + '\0' + form + '\0';
}

FileBrowser::FileBrowser(const QString &program) : m_before(qgetenv("PATH")) {
    EXPECT_EQ(QFileInfo(program).fileName(), "xdg-open");
    qputenv("PATH", QFile::encodeName(QFileInfo(program).path()) + ':' + m_before);
}

FileBrowser::~FileBrowser() {
    qputenv("PATH", m_before);
}
