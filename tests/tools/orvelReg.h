#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

// The result of the command, with the same line ends on every system.
struct Outcome {
    int code = -1;
    QByteArray out;
    QByteArray error;
};

class OrvelReg : public testing::Test {
  protected:
    OrvelReg() : m_own(ownKey()), key(m_own + "\\Setup\\Tribes2") {}
    ~OrvelReg() override { dropCache(m_own); }

    static Outcome run(const QStringList &arguments);
    // Runs the command and checks its code and output; its error text contains `error`, or is "".
    static void expect(const QStringList &arguments, int code, const QByteArray &out,
                       const QByteArray &error = {});

  private:
    // A key that only this test uses, in the store of the command.
    static QString ownKey();
    static void dropCache(const QString &key);
    QString m_own;

  protected:
    const QString key;
};
