// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/filenamedatasource.h"

#include "mapping/metadataassignment.h"
#include "mapping/metadatamapping.h"

#include "exif/fileoutcomes.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

// What the next write does with one image, or, once it has run, what it did.
enum class ImageState {
    unknown, // not looked at yet
    willBeWritten,
    noRow,
    severalRows,
    emptyKeyRow, // only the row with an empty key matches it
    cannotBeWritten,
    stillBeingWritten,
    written,
    unchanged,
    failed,
    notWritten,
    leftOut,
    // By barcode cards: a card frame, and a frame no card gives a row.
    card,
    unassigned,
};

// The views of a batch a user filters by.
enum class ImageFilter { all, willBeWritten, problems, notYetWritten };

// Whether an image in `state` belongs under `filter`. A `flagged` image is
// written all the same but asks to be looked at first (by cards: a card may
// have been missed, a frame without a capture time), so it is also among
// the problems.
bool stateMatchesFilter(ImageState state, ImageFilter filter, bool flagged = false);
// The state a write's outcome for a file puts it in.
ImageState stateOfOutcome(FileOutcomeKind kind);

// One image of the batch as the next write sees it. `keys` are the keys of
// the rows it matches, sorted; they are what the image is grouped under.
struct ImagePlanEntry {
    ImageState state = ImageState::unknown;
    QStringList keys;
    int tagCount = 0;
    // exiftool's reason for a failed file, or why it was left out; by
    // cards, what to check of a frame or why it has no row.
    QString reason;

    friend bool operator==(const ImagePlanEntry&, const ImagePlanEntry&) = default;
};

// "Will be written, 5 tags", "Several rows: A1, A10", "Failed: reason",
// "Card", "Unassigned: before the first card".
QString imageStateText(const ImagePlanEntry& entry);

// What a plan is made from. The source is a copy taken on the main thread,
// so that the worker reads nothing the window may change meanwhile.
struct ImagePlanInputs {
    QList<QUrl> images;
    std::shared_ptr<const FileNameDataSource> source; // none: no data yet
    std::vector<MetadataMapping> mappings;
    int writeMethodValue = 0;
    EmptyCells emptyCells = EmptyCells::keep;
    // Which of the paths another process is writing; by default the files
    // open for writing on this machine.
    std::function<QSet<QString>(const QStringList& paths)> filesInUse;
};

// Works out each image's entry, a batch at a time, so that a window can
// show the first rows while the rest are still being worked out. Made on a
// worker thread; `deliver` gets each batch's first index and its entries,
// on that thread. Stops between batches once `cancelled` is set.
void planImages(const ImagePlanInputs& inputs, qsizetype batchSize,
                const std::function<void(qsizetype first, std::vector<ImagePlanEntry>)>& deliver,
                const std::atomic_bool& cancelled);

// The folder every one of `paths` lies in, the deepest such; empty for none.
QString commonFolder(const QStringList& paths);

} // namespace qb
