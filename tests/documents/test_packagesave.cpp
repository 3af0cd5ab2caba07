// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/mappingsdoc.h"

#include "documenttesthelpers.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace qb;
using qb::test::snapshot;

namespace {

// A folder nobody may write into while this lives. Permissions alone don't
// stop root, so as root the folder is also made immutable where the file
// system allows it.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& path)
        : m_path(path)
    {
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
        m_immutable = ::geteuid() == 0 && setImmutable(true);
    }
    ~ReadOnlyFolder()
    {
        if (m_immutable)
            setImmutable(false);
        QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    bool isEffective() const { return ::geteuid() != 0 || m_immutable; }

private:
    bool setImmutable(bool on) const
    {
        const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_DIRECTORY);
        int flags = 0;
        bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        if (fd >= 0)
            ::close(fd);
        return done;
    }

    QString m_path;
    bool m_immutable = false;
};

class PackageSave : public testing::Test {
protected:
    void SetUp() override
    {
        m_parent = m_dir.filePath("parent");
        ASSERT_TRUE(QDir().mkdir(m_parent));
        m_document.setCriteria(qb::test::sampleRows());
        m_document.setDatasourceWrapper(*ImageDatasourceSettings().fileWrapper());
        ASSERT_TRUE(m_document.saveAs(m_parent + "/doc.qbmap").has_value());
        m_before = snapshot(m_parent);
        // An unsaved change that the failed save must not have written.
        m_document.toggleIsEditable();
    }

    QTemporaryDir m_dir;
    QString m_parent;
    MappingsDoc m_document;
    std::map<QString, QByteArray> m_before;
};

TEST_F(PackageSave, ReadOnlyParentFailsClearlyAndKeepsThePreviousPackage)
{
    ReadOnlyFolder readOnly(m_parent);
    if (!readOnly.isEffective())
        GTEST_SKIP() << "running as root on a file system without immutable folders";

    const auto saved = m_document.save();
    ASSERT_FALSE(saved.has_value());
    EXPECT_EQ(saved.error().errorDescription, "The document “doc.qbmap” could not be saved.");
    EXPECT_TRUE(saved.error().failureReason.contains("parent writable"))
        << saved.error().failureReason.toStdString();
    EXPECT_EQ(snapshot(m_parent), m_before);
    EXPECT_TRUE(m_document.isDocumentEdited());
}

TEST_F(PackageSave, FailureHalfwayThroughWritingLeavesNoTrace)
{
    // A member that can't be written, met after mapping.json is already out.
    FileWrapper escaping = FileWrapper::regularFile("x", "../escape");
    m_document.setDatasourceWrapper(escaping);

    const auto saved = m_document.save();
    ASSERT_FALSE(saved.has_value());
    EXPECT_TRUE(saved.error().failureReason.contains("can't be the name of a file"));
    EXPECT_EQ(snapshot(m_parent), m_before);
    EXPECT_FALSE(QFile::exists(m_parent + "/escape"));
}

} // namespace
