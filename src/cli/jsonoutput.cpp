// SPDX-License-Identifier: GPL-3.0-or-later
#include "jsonoutput.h"

namespace qb::cli {

void printJson(QTextStream& out, const Json& json)
{
    const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
    out << QString::fromStdString(text) << '\n';
    out.flush();
}

Json jsonStrings(const QStringList& texts)
{
    Json array = Json::array();
    for (const QString& text : texts)
        array.push_back(text.toStdString());
    return array;
}

} // namespace qb::cli
