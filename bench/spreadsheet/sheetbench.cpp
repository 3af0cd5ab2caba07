// SPDX-License-Identifier: GPL-3.0-or-later
// Reads one sheet of a spreadsheet through readSheet() and reports the time
// taken, the shape of the table and the peak memory of the process.
#include "spreadsheet/spreadsheet.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: qb_spreadsheet_bench FILE [SHEET]\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    std::optional<QString> sheet;
    if (argc == 3)
        sheet = QString::fromLocal8Bit(argv[2]);

    const auto start = std::chrono::steady_clock::now();
    const auto table = qb::readSheet(path, sheet);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!table) {
        std::fprintf(stderr, "%s\n", qPrintable(table.error().message()));
        return 1;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("sheet: %s\n", qPrintable(table->sheetName));
    std::printf("rows: %zu\n", table->rows.size());
    std::printf("columns: %lld\n", static_cast<long long>(table->headers.size()));
    std::printf("notes: %lld\n", static_cast<long long>(table->notes.size()));
    std::printf("seconds: %.3f\n", elapsed.count());
    std::printf("peak MiB: %.1f\n", usage.ru_maxrss / 1024.0);
    return 0;
}
