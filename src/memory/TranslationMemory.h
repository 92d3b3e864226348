#pragma once
// Translations remembered across workspaces: the editor's own workspace and any other workspace
// the user adds are indexed, English text beside translation, in one SQLite file of the user's
// (full-text search with the trigram tokenizer finds similar English texts). The editor's
// translate dialog shows what it finds, and pre-translation fills missing translations from it.
//
// The memory reads workspaces through the model interfaces only; whoever opens a workspace
// (the kvedit program, a test) hands its tables over. Failures are thrown as KvError.

#include "model/StringTables.h"

#include <QList>
#include <QString>

#include <memory>

namespace kvedit::memory {

// Match percentages of the exact tiers; a fuzzy match stays below them.
enum MatchTier : int {
    kExact = 100,
    kExactButCase = 99,
    kExactButMarker = 98,
    kExactButPunctuation = 97,
    kBestFuzzy = 96,
};

struct Suggestion {
    int percent = 0;
    QString english;       // the English text of the match
    QString translation;   // its translation as stored
    // What inserting the suggestion puts in: for an approved translation of an exactly matching
    // English text, the translation with its placeholders, shortcut marker and ending punctuation
    // following the English being translated; the stored translation otherwise.
    QString insertText;
    bool approved = false;
    bool adapted = false;   // insertText differs from the stored translation
    QString origin;         // "this workspace" or the other workspace's file name
    StringId id = 0;
};

// How an English text compares with the English of a match: 100 when equal, 99/98/97 when they
// differ only in case, shortcut marker, or punctuation, blanks and placeholder numbers; 0 else.
int ExactTier(const QString &current, const QString &match);

// The translation of matchEnglish made fit for currentEnglish: placeholders renumbered in the
// order the two English texts use them, the shortcut marker removed or added as currentEnglish
// has one, and the ending punctuation swapped where the translation ends as matchEnglish does.
QString Adapt(const QString &translation, const QString &matchEnglish, const QString &currentEnglish);

class TranslationMemory {
public:
    // indexFile: the SQLite file of the index; empty for DefaultIndexFile(). The file and its
    // folder are made when missing; an index written by another version is built afresh.
    explicit TranslationMemory(const QString &indexFile = QString());
    ~TranslationMemory();
    TranslationMemory(const TranslationMemory &) = delete;
    TranslationMemory &operator=(const TranslationMemory &) = delete;

    // KVEDIT_MEMORY_INDEX when set, else memory.sqlite in the user's settings folder.
    static QString DefaultIndexFile();
    QString IndexFile() const;

    // The workspace being edited: its translations (Local Edited as shown) become suggestions for
    // each other, named "this workspace". key tells it apart in the index (its file's path);
    // other workspaces are suggested when their target language is this one's.
    // Indexed on the first lookup, or by Refresh.
    void SetWorkspace(const StringTableSetPtr &tables, const QString &key, int maximumCount);
    // Brings the index of the workspace being edited up to date for these ids (all when empty),
    // writing only the ids whose English, translation or approval changed; one transaction.
    void Refresh(const QList<StringId> &ids = {});

    // Another workspace, by its file's path. Its modification time decides whether the stored
    // index is current; IsCurrent tells the caller whether it need open the file at all.
    bool IsCurrent(const QString &path) const;
    void AddWorkspace(const QString &path, const StringTableSetPtr &tables, int maximumCount);
    // A workspace already indexed and current, used without opening it.
    void UseIndexed(const QString &path);

    // Translations an exchange file offered beside its own (XLIFF <alt-trans>) for strings of the
    // workspace at workspacePath, kept as suggestions whenever that workspace is edited: the
    // best offer per string, in place of an earlier one. One transaction.
    struct Offered {
        StringId id = 0;
        QString english;        // the English the offer translates
        QString translation;
        int quality = -1;       // the file's match quality; the highest of a string's offers is kept
    };
    void KeepOffered(const QString &workspacePath, const QString &language, const QList<Offered> &offers);

    // Does now what the first lookup would otherwise do first (index the workspace being edited,
    // read what choosing fuzzy candidates needs), so that lookup is as quick as the others.
    void Warm();
    // Warm in steps: indexes the next count strings of the workspace being edited; true when
    // the whole of it is indexed (and the rest of Warm done). A lookup before then finishes it.
    bool WarmStep(int count);

    // Up to max suggestions for an English text, best first, at or above minPercent; the string
    // excludeId of the workspace being edited is left out (it is the one being translated).
    QList<Suggestion> Lookup(const QString &english, StringId excludeId = 0, int minPercent = 50, int max = 5);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

using TranslationMemoryPtr = std::shared_ptr<TranslationMemory>;

// One string pre-translation filled.
struct Filled {
    StringId id = 0;
    int percent = 0;
    QString text;
    QString origin;
};

// Fills the missing translations among ids (every string when empty) in version (Local Edited or
// Local Default) from the best suggestion at or above minPercent. The texts are stored in the
// tables unapproved, with the English entry's properties; nothing is saved.
QList<Filled> Pretranslate(TranslationMemory &memory, const StringTableSetPtr &tables, TableVersion version,
                           const QList<StringId> &ids, int minPercent, int maximumCount);

} // namespace kvedit::memory
