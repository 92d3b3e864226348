#pragma once
// The vocabulary several forms share: the names of the four string sources and the headings built
// from them, the characters that may serve as a shortcut character, the names of the shortcut
// modes, and the loaders of the two shortcut combo boxes.

#include "model/StringTables.h"

#include <QLoggingCategory>
#include <QString>

class QComboBox;

Q_DECLARE_LOGGING_CATEGORY(lcCommon)

namespace kvedit::basGlobals {

// "Local Edited", "Local Default", "English Edited", "English Default" for codes 0 to 3; empty
// for any other code. Fixed texts, used to size the list's columns.
QString FixedSourceName(int code);

// The source language's name as the tables give it, followed by " edited" (codes 0 and 2) or
// " default" (codes 1 and 3): "German edited". Empty for codes outside 0 to 3, without asking
// the tables. Does not report: a null table set or a failing server throws KvError into the
// caller's error context.
QString SourceHeading(const StringTableSetPtr &tables, int code);

// True for the character codes of "0" to "9" and "A" to "Z" only; false below 0 and above 127.
bool IsShortcutCharacter(int code);

// "(not set)", "prefixed by '&'", "first instance", "insert at beginning", "add to end" for
// modes 0 to 4; "invalid code" otherwise.
QString ShortcutModeName(int code);
// The code, ": " and the mode name: "2: first instance", "7: invalid code".
QString ShortcutModeText(int code);

// The first item of the shortcut-character combo box, standing for no shortcut character.
QString NoShortcutCharacterText();

// Fills the combo box with "(none)", "0" to "9" and "A" to "Z" (37 items, no item data).
// Nothing happens for a null combo box. Reports under basGlobals.LoadShortcutCharacterComboBox.
void LoadShortcutCharacterComboBox(QComboBox *combo);

// Fills the combo box with the mode texts of codes 0 to 4, each item's data being its code.
// Nothing happens for a null combo box. Reports under the same procedure name as the character
// loader, basGlobals.LoadShortcutCharacterComboBox.
void LoadShortcutModeComboBox(QComboBox *combo);

} // namespace kvedit::basGlobals
