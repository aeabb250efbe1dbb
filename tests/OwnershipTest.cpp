#include "Ownership.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

/// A file that another one replaces, as Qt does when it saves.
class OwnershipTest : public testing::Test
{
protected:
    OwnershipTest()
    {
        write(name);
        EXPECT_EQ(chmod(qPrintable(name), 0640), 0);
    }

    static void write(const QString &path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }

    /// Puts a new file in the place of the old one, with the permissions 0600.
    void replace() const
    {
        const QString next = folder.filePath("next");
        write(next);
        EXPECT_EQ(chmod(qPrintable(next), 0600), 0);
        EXPECT_EQ(rename(qPrintable(next), qPrintable(name)), 0);
    }

    static struct stat statusOf(const QString &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(path), &status), 0);
        return status;
    }

    static mode_t modeOf(const QString &path) { return statusOf(path).st_mode & 07777U; }

    QTemporaryDir folder;
    const QString name = folder.filePath("file");
};

} // namespace

TEST_F(OwnershipTest, TheReplacementGetsOwnerAndPermissions)
{
    if (geteuid() == 0) {
        ASSERT_EQ(chown(qPrintable(name), 1234, 4321), 0);
    }
    const struct stat before = statusOf(name);
    {
        const Ownership ownership(name);
        replace();
        EXPECT_EQ(modeOf(name), 0600U);
    }
    EXPECT_EQ(modeOf(name), 0640U);
    EXPECT_EQ(statusOf(name).st_uid, before.st_uid);
    EXPECT_EQ(statusOf(name).st_gid, before.st_gid);
}

TEST_F(OwnershipTest, TheTargetOfALinkIsMeant)
{
    const QString link = folder.filePath("link");
    ASSERT_TRUE(QFile::link(name, link));
    {
        const Ownership ownership(link);
        replace();
    }
    EXPECT_EQ(modeOf(name), 0640U);
}

TEST_F(OwnershipTest, WhatTheUserChangesMeanwhileStays)
{
    {
        const Ownership ownership(name);
        EXPECT_EQ(chmod(qPrintable(name), 0604), 0);
    }
    EXPECT_EQ(modeOf(name), 0604U); // it is the same file
}

TEST_F(OwnershipTest, AFileOfSeveralNamesIsNoReplacement)
{
    {
        const Ownership ownership(name);
        replace();
        EXPECT_EQ(link(qPrintable(name), qPrintable(folder.filePath("other"))), 0);
    }
    EXPECT_EQ(modeOf(name), 0600U);
}

TEST_F(OwnershipTest, WhatIsNoFileStaysAsItIs)
{
    const QString other = folder.filePath("other");
    {
        const Ownership ownership(name);
        replace();
        EXPECT_EQ(rename(qPrintable(name), qPrintable(other)), 0);
        ASSERT_TRUE(QFile::link(other, name));
    }
    EXPECT_EQ(modeOf(other), 0600U);
    QFile::remove(name);
    EXPECT_EQ(chmod(qPrintable(other), 0640), 0);
    {
        const Ownership ownership(other);
        QFile::remove(other);
        EXPECT_EQ(mkfifo(qPrintable(other), 0600), 0);
    }
    EXPECT_EQ(modeOf(other), 0600U);
    {
        const Ownership ownership(name); // there is none
        write(name);
        EXPECT_EQ(chmod(qPrintable(name), 0600), 0);
    }
    EXPECT_EQ(modeOf(name), 0600U);
}
