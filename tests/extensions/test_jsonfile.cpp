// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/jsonfile.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using Json = nlohmann::ordered_json;

class JsonFile : public testing::Test {
protected:
    QString path(const char* name) const { return m_directory.filePath(name); }

    void writeBytes(const QString& file, const QByteArray& bytes)
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }

    QTemporaryDir m_directory;
};

TEST_F(JsonFile, RoundTripKeepsKeyOrderAndIsPrettyPrinted)
{
    const Json value = {{"zeta", 1}, {"alpha", {true, 2.5, "a/b"}}};
    ASSERT_TRUE(qb::writeJsonFile(value, path("out.json")).has_value());

    QFile file(path("out.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "{\n  \"zeta\": 1,\n  \"alpha\": [\n    true,\n    2.5,\n"
                              "    \"a/b\"\n  ]\n}");

    const auto read = qb::readJsonFile(path("out.json"));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(*read, value);
    EXPECT_EQ(read->begin().key(), "zeta");
}

TEST_F(JsonFile, ReadFailuresNameThePathAndTheCause)
{
    writeBytes(path("bad.json"), "{\n  \"a\": 1,,\n}");
    const struct {
        QString file;
        qb::JsonFileErrorCode code;
        QString reasonPart;
    } cases[] = {
        {path("missing.json"), qb::JsonFileErrorCode::fileMissing, "no such file"},
        {m_directory.path(), qb::JsonFileErrorCode::unreadable, "folder"},
        {path("bad.json"), qb::JsonFileErrorCode::notJson, "line 2, column"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(qPrintable(row.file));
        const auto result = qb::readJsonFile(row.file);
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(result.error().code, static_cast<int>(row.code));
        EXPECT_TRUE(result.error().errorDescription.contains(row.file));
        EXPECT_TRUE(result.error().failureReason.contains(row.reasonPart))
            << qPrintable(result.error().failureReason);
    }
}

TEST_F(JsonFile, WriteFailures)
{
    const auto noFolder = qb::writeJsonFile(Json::object(), path("none/out.json"));
    ASSERT_FALSE(noFolder.has_value());
    EXPECT_EQ(noFolder.error().code, static_cast<int>(qb::JsonFileErrorCode::unwritable));

    const auto badText = qb::writeJsonFile(Json("\xff"), path("text.json"));
    ASSERT_FALSE(badText.has_value());
    EXPECT_EQ(badText.error().code, static_cast<int>(qb::JsonFileErrorCode::notEncodable));
}

TEST_F(JsonFile, TypedDecodeReportsTheWrongShape)
{
    ASSERT_TRUE(qb::encodeJsonFile(std::vector<int>{1, 2}, path("list.json")).has_value());
    EXPECT_EQ(qb::decodeJsonFile<std::vector<int>>(path("list.json")).value(),
              (std::vector<int>{1, 2}));
    const auto wrong = qb::decodeJsonFile<std::string>(path("list.json"));
    ASSERT_FALSE(wrong.has_value());
    EXPECT_EQ(wrong.error().code, static_cast<int>(qb::JsonFileErrorCode::notDecodable));
}

} // namespace
