// The demo workspace: the string table of a small desktop document editor ("Demo Application"),
// English with a German translation in every state the editor distinguishes, and a few strings
// of the Japanese edition. Everything is generated from the tables below in a fixed order, so
// the contents and the counts in DemoCounts are the same on every run.
//
// Ids: menu titles 100.., menu items 200.. with their status-bar prompts at 600.., messages
// 1000.., dialog texts 2000.., longer texts 3000.., lists and units 4000.., Japanese edition
// 5000... 286 strings in all.
//
// German states, by the string's position n (0-based, in id order) in the table:
//   n % 25 == 3    no German record                                 (missing)
//   n % 25 == 13   a German record without text                     (missing)
//   n % 25 == 6,18 English revision 2, German 1, approved           (out of date)
//   n % 25 == 9    English revision 3, German 2, not approved       (out of date)
//   n % 25 == 21   revisions equal, not approved                    (unapproved)
//   n % 25 == 16   English revision 2, German 2, approved           (changed, confirmed)
//   otherwise      revision 1, approved                              (translated)
// Six of the out-of-date ones (kEarlierEnglish) have the English they were translated from in
// the file's history: two with words changed, two punctuation, a shortcut marker, a property.
// The Japanese-edition strings have no German (those with even ids a record without text).
// Local edits (source 0) lie over the defaults for the strings in kLocalEdits, and a few
// English corrections wait in source 2 (kEnglishEdits).
//
// The quality checks find a few problems of each kind in the German on purpose (placeholders,
// formats, shortcuts and a clash in the File menu, lines and tabs, blanks, punctuation, a kept
// English text, a far too short one; see the README), and in the English a parameter defined
// but unused and the Edit menu's F twice. Menu items are described "Menu File: Open", which puts
// each menu's shortcuts in one group.
//
// What the editor's searches count (table version 0 looks through source 0 to source 1):
//   version 1: 286 strings, 258 translated, 28 missing, 61 out of date, 72 unapproved
//   version 0: 286 strings, 260 translated, 26 missing, 58 out of date, 71 unapproved

#include "server/Workspace.h"

#include "server/TableSet.h"

#include "services/ErrorContext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

namespace kvedit::server {

namespace {

struct Menu {
    const char *symbol, *english, *german;
};

constexpr Menu kMenus[] = {
    {"IDS_MENU_FILE", "&File", "&Datei"},       {"IDS_MENU_EDIT", "&Edit", "&Bearbeiten"},
    {"IDS_MENU_VIEW", "&View", "&Ansicht"},     {"IDS_MENU_INSERT", "&Insert", "&Einfügen"},
    {"IDS_MENU_FORMAT", "F&ormat", "F&ormat"},  {"IDS_MENU_TOOLS", "&Tools", "E&xtras"},
    {"IDS_MENU_WINDOW", "&Window", "&Fenster"}, {"IDS_MENU_HELP", "&Help", "&Hilfe"},
};

struct Command {
    const char *symbol;      // without the IDS_ prefix
    const char *english;     // menu caption
    const char *german;
    const char *accelerator; // English key name; empty for none
    const char *promptEnglish;
    const char *promptGerman;
};

constexpr Command kCommands[] = {
    {"FILE_NEW", "&New", "&Neu", "Ctrl+N", "Creates a new document", "Erstellt ein neues Dokument"},
    {"FILE_OPEN", "&Open...", "Ö&ffnen...", "Ctrl+O", "Opens an existing document", "Öffnet ein vorhandenes Dokument"},
    {"FILE_CLOSE", "&Close", "Sch&ließen", "", "Closes the active document", "Schließt das aktive Dokument"},
    {"FILE_SAVE", "&Save", "&Speichern", "Ctrl+S", "Saves the active document", "Speichert das aktive Dokument"},
    {"FILE_SAVE_AS", "Save &As...", "Speichern &unter...", "", "Saves the active document under a new name",
     "Speichert das aktive Dokument unter einem neuen Namen"},
    {"FILE_SAVE_ALL", "Save A&ll", "&Alles speichern", "", "Saves all open documents", "Speichert alle geöffneten Dokumente"},
    {"FILE_REVERT", "&Revert", "&Zurücksetzen", "", "Discards the changes since the document was last saved",
     "Verwirft die Änderungen seit dem letzten Speichern"},
    {"FILE_IMPORT", "&Import...", "&Importieren...", "", "Imports data from another file", "Importiert Daten aus einer anderen Datei"},
    {"FILE_EXPORT", "&Export...", "E&xportieren...", "", "Exports the document in another format",
     "Exportiert das Dokument in einem anderen Format"},
    {"FILE_PAGE_SETUP", "Page Set&up...", "Seite ein&richten...", "", "Changes the page layout settings",
     "Ändert die Einstellungen für das Seitenlayout"},
    {"FILE_PRINT_PREVIEW", "Print Pre&view", "Seiten&ansicht", "", "Shows how the document will look when printed",
     "Zeigt, wie das Dokument gedruckt aussieht"},
    {"FILE_PRINT", "&Print...", "&Drucken...", "Ctrl+P", "Prints the active document", "Druckt das aktive Dokument"},
    {"FILE_PROPERTIES", "Proper&ties", "&Eigenschaften", "", "Shows the properties of the active document",
     "Zeigt die Eigenschaften des aktiven Dokuments"},
    {"FILE_RECENT", "Recent &Files", "&Zuletzt verwendete Dateien", "", "Opens one of the recently used documents",
     "Öffnet eines der zuletzt verwendeten Dokumente"},
    {"FILE_EXIT", "E&xit", "&Beenden", "Alt+F4", "Quits the application", "Beendet die Anwendung"},
    {"EDIT_UNDO", "&Undo", "&Rückgängig", "Ctrl+Z", "Undoes the last action", "Macht die letzte Aktion rückgängig"},
    {"EDIT_REDO", "&Redo", "&Wiederholen", "Ctrl+Y", "Redoes the last undone action",
     "Wiederholt die zuletzt rückgängig gemachte Aktion"},
    {"EDIT_CUT", "Cu&t", "&Ausschneiden", "Ctrl+X", "Moves the selection to the clipboard",
     "Verschiebt die Auswahl in die Zwischenablage"},
    {"EDIT_COPY", "&Copy", "&Kopieren", "Ctrl+C", "Copies the selection to the clipboard", "Kopiert die Auswahl in die Zwischenablage"},
    {"EDIT_PASTE", "&Paste", "&Einfügen", "Ctrl+V", "Inserts the contents of the clipboard", "Fügt den Inhalt der Zwischenablage ein"},
    {"EDIT_PASTE_SPECIAL", "Paste &Special...", "Inhalte einf&ügen...", "", "Inserts the clipboard contents in a chosen format",
     "Fügt den Inhalt der Zwischenablage in einem gewählten Format ein"},
    {"EDIT_DELETE", "&Delete", "&Löschen", "Del", "Deletes the selection", "Löscht die Auswahl"},
    {"EDIT_SELECT_ALL", "Select &All", "Alles a&uswählen", "Ctrl+A", "Selects the whole document", "Wählt das gesamte Dokument aus"},
    {"EDIT_FIND", "&Find...", "&Suchen...", "Ctrl+F", "Finds text in the document", "Sucht Text im Dokument"},
    {"EDIT_FIND_NEXT", "Find &Next", "Weitersu&chen", "F3", "Finds the next occurrence of the text",
     "Sucht das nächste Vorkommen des Textes"},
    {"EDIT_REPLACE", "R&eplace...", "Erse&tzen...", "Ctrl+H", "Replaces text in the document", "Ersetzt Text im Dokument"},
    {"EDIT_GOTO", "&Go To...", "&Gehe zu...", "Ctrl+G", "Moves to a given page or line", "Wechselt zu einer bestimmten Seite oder Zeile"},
    {"EDIT_PREFERENCES", "Pre&ferences...", "Einstellu&ngen...", "", "Changes the application settings",
     "Ändert die Einstellungen der Anwendung"},
    {"VIEW_TOOLBAR", "&Toolbar", "&Symbolleiste", "", "Shows or hides the toolbar", "Blendet die Symbolleiste ein oder aus"},
    {"VIEW_STATUS_BAR", "&Status Bar", "S&tatusleiste", "", "Shows or hides the status bar", "Blendet die Statusleiste ein oder aus"},
    {"VIEW_RULER", "&Ruler", "&Lineal", "", "Shows or hides the ruler", "Blendet das Lineal ein oder aus"},
    {"VIEW_ZOOM_IN", "Zoom &In", "Vergrößer&n", "Ctrl++", "Enlarges the view", "Vergrößert die Ansicht"},
    {"VIEW_ZOOM_OUT", "Zoom &Out", "Ver&kleinern", "Ctrl+-", "Reduces the view", "Verkleinert die Ansicht"},
    {"VIEW_ACTUAL_SIZE", "&Actual Size", "&Originalgröße", "Ctrl+0", "Shows the document at its actual size",
     "Zeigt das Dokument in Originalgröße"},
    {"VIEW_FULL_SCREEN", "&Full Screen", "&Vollbild", "F11", "Shows the document on the whole screen",
     "Zeigt das Dokument auf dem ganzen Bildschirm"},
    {"VIEW_OUTLINE", "Out&line", "&Gliederung", "", "Shows the outline of the document", "Zeigt die Gliederung des Dokuments"},
    {"VIEW_REFRESH", "Refres&h", "Aktualisie&ren", "F5", "Redraws the window", "Zeichnet das Fenster neu"},
    {"INSERT_PICTURE", "&Picture...", "&Grafik...", "", "Inserts a picture from a file", "Fügt eine Grafik aus einer Datei ein"},
    {"INSERT_TABLE", "&Table...", "&Tabelle...", "", "Inserts a table", "Fügt eine Tabelle ein"},
    {"INSERT_DATE", "&Date and Time...", "&Datum und Uhrzeit...", "", "Inserts the current date and time",
     "Fügt das aktuelle Datum und die Uhrzeit ein"},
    {"INSERT_SYMBOL", "&Symbol...", "&Sonderzeichen...", "", "Inserts a special character", "Fügt ein Sonderzeichen ein"},
    {"INSERT_PAGE_BREAK", "Page &Break", "Seiten&umbruch", "Ctrl+Enter", "Starts a new page", "Beginnt eine neue Seite"},
    {"INSERT_HYPERLINK", "&Hyperlink...", "&Hyperlink...", "Ctrl+K", "Inserts a link to a web page or file",
     "Fügt eine Verknüpfung zu einer Webseite oder Datei ein"},
    {"INSERT_COMMENT", "&Comment", "&Kommentar", "", "Adds a comment to the selection", "Fügt der Auswahl einen Kommentar hinzu"},
    {"FORMAT_FONT", "&Font...", "Zei&chen...", "", "Changes the font of the selection", "Ändert die Schriftart der Auswahl"},
    {"FORMAT_PARAGRAPH", "&Paragraph...", "&Absatz...", "", "Changes the paragraph layout", "Ändert das Absatzlayout"},
    {"FORMAT_BOLD", "&Bold", "&Fett", "Ctrl+B", "Makes the selection bold", "Formatiert die Auswahl fett"},
    {"FORMAT_ITALIC", "&Italic", "&Kursiv", "Ctrl+I", "Makes the selection italic", "Formatiert die Auswahl kursiv"},
    {"FORMAT_UNDERLINE", "&Underline", "&Unterstrichen", "Ctrl+U", "Underlines the selection", "Unterstreicht die Auswahl"},
    {"FORMAT_ALIGN_LEFT", "Align &Left", "&Linksbündig", "Ctrl+L", "Aligns the paragraph to the left",
     "Richtet den Absatz linksbündig aus"},
    {"FORMAT_CENTER", "&Center", "&Zentriert", "Ctrl+E", "Centres the paragraph", "Zentriert den Absatz"},
    {"FORMAT_ALIGN_RIGHT", "Align &Right", "&Rechtsbündig", "Ctrl+R", "Aligns the paragraph to the right",
     "Richtet den Absatz rechtsbündig aus"},
    {"FORMAT_BULLETS", "Bulle&ts", "Aufzä&hlungszeichen", "", "Starts or ends a bulleted list", "Beginnt oder beendet eine Aufzählung"},
    {"FORMAT_STYLES", "&Styles...", "Format&vorlagen...", "", "Manages the paragraph styles", "Verwaltet die Formatvorlagen"},
    {"TOOLS_SPELLING", "&Spelling...", "&Rechtschreibung...", "F7", "Checks the spelling of the document",
     "Prüft die Rechtschreibung des Dokuments"},
    {"TOOLS_WORD_COUNT", "&Word Count", "&Wörter zählen", "", "Counts the words in the document", "Zählt die Wörter im Dokument"},
    {"TOOLS_MACROS", "&Macros...", "&Makros...", "Alt+F8", "Runs or edits a macro", "Führt ein Makro aus oder bearbeitet es"},
    {"TOOLS_CUSTOMIZE", "&Customize...", "&Anpassen...", "", "Changes menus, toolbars and keyboard shortcuts",
     "Ändert Menüs, Symbolleisten und Tastenkombinationen"},
    {"TOOLS_OPTIONS", "&Options...", "&Optionen...", "", "Changes the options of the application", "Ändert die Optionen der Anwendung"},
    {"TOOLS_LANGUAGE", "&Language...", "&Sprache...", "", "Sets the language of the selected text",
     "Legt die Sprache des markierten Textes fest"},
    {"WINDOW_NEW", "&New Window", "&Neues Fenster", "", "Opens another window for the active document",
     "Öffnet ein weiteres Fenster für das aktive Dokument"},
    {"WINDOW_CASCADE", "&Cascade", "Ü&berlappend", "", "Arranges the windows so that they overlap",
     "Ordnet die Fenster überlappend an"},
    {"WINDOW_TILE", "&Tile", "Neben&einander", "", "Arranges the windows side by side", "Ordnet die Fenster nebeneinander an"},
    {"WINDOW_SPLIT", "&Split", "&Teilen", "", "Splits the active window into panes", "Teilt das aktive Fenster in Bereiche"},
    {"WINDOW_CLOSE_ALL", "Close &All", "&Alle schließen", "", "Closes all windows", "Schließt alle Fenster"},
    {"HELP_CONTENTS", "&Contents", "&Inhalt", "F1", "Opens the help contents", "Öffnet das Inhaltsverzeichnis der Hilfe"},
    {"HELP_SEARCH", "&Search Help...", "Hilfe &durchsuchen...", "", "Searches the help for a topic", "Durchsucht die Hilfe nach einem Thema"},
    {"HELP_SHORTCUTS", "&Keyboard Shortcuts", "&Tastenkombinationen", "", "Lists the keyboard shortcuts",
     "Listet die Tastenkombinationen auf"},
    {"HELP_UPDATES", "Check for &Updates...", "Nach &Updates suchen...", "", "Looks for a newer version of the application",
     "Sucht nach einer neueren Version der Anwendung"},
    {"HELP_ABOUT", "&About Demo Application", "In&fo über Demo Application", "", "Shows the version and copyright information",
     "Zeigt Versions- und Copyrightinformationen"},
};

// Texts with parameters list their definitions as "first|second|...": parameter n is the n-th.
struct Text {
    const char *symbol;
    const char *english;
    const char *german;       // empty: not translated
    const char *description;
    const char *parameters;
};

constexpr Text kMessages[] = {
    {"IDS_MSG_FILE_NOT_FOUND", "The file %1 was not found.", "Die Datei %1 wurde nicht gefunden.", "Error message", "file name"},
    {"IDS_MSG_OPEN_FAILED", "The file %1 could not be opened:\n%2", "Die Datei %1 konnte nicht geöffnet werden:\n%2",
     "Error message; the reason comes from the system", "file name|reason"},
    {"IDS_MSG_SAVE_CHANGES", "Do you want to save the changes to %1?", "Möchten Sie die Änderungen an %1 speichern?",
     "Question when a modified document is closed", "document name"},
    {"IDS_MSG_SAVE_FAILED", "The document %1 could not be saved. The disk may be full or write-protected.",
     "Das Dokument %1 konnte nicht gespeichert werden.\nDer Datenträger ist möglicherweise voll oder schreibgeschützt.",
     "Error message", "document name"},
    {"IDS_MSG_READ_ONLY", "%1 is read-only. Save it under another name?",
     "%1 ist schreibgeschützt. Unter einem anderen Namen speichern.", "Question", "file name"},
    {"IDS_MSG_OVERWRITE", "%1 already exists. Do you want to replace it?",
     "%1 ist bereits vorhanden. Möchten Sie die Datei ersetzen?", "Question in the Save As dialog", "file name"},
    {"IDS_MSG_FILE_LOCKED", "%1 is being edited by %2. Open a read-only copy?",
     "%1 wird von %2 bearbeitet. Eine schreibgeschützte Kopie öffnen?", "Question", "file name|user name"},
    {"IDS_MSG_UNKNOWN_FORMAT", "The format of %1 is not supported.", "Das Format von %1 wird nicht unterstützt.",
     "Error message", "file name"},
    {"IDS_MSG_NEWER_VERSION", "%1 was created with a newer version of Demo Application.",
     "%1 wurde mit einer neueren Version von Demo Application erstellt.", "Error message; keep the product name", "file name"},
    {"IDS_MSG_TEXT_NOT_FOUND", "The text \"%1\" was not found.", "Der Text „%1“ wurde nicht gefunden.",
     "Find dialog result", "search text"},
    {"IDS_MSG_REPLACED", "%1!d! occurrences were replaced.", "%1!s! Vorkommen wurden ersetzt.", "Replace dialog result",
     "number of replacements"},
    {"IDS_MSG_END_OF_DOCUMENT", "The end of the document was reached. Continue at the beginning?",
     "Weiter?", "Question during a search", ""},
    {"IDS_MSG_PRINTING", "Printing page %1 of %2...", "Seite %1 von %2 wird gedruckt...", "Progress text",
     "page number|page count"},
    {"IDS_MSG_PRINTER_ERROR", "The printer %1 is not available.", "Der Drucker %1 ist nicht verfügbar.", "Error message",
     "printer name"},
    {"IDS_MSG_NO_PRINTER", "No printer is installed.", "Es ist kein Drucker installiert.", "Error message", ""},
    {"IDS_MSG_OUT_OF_MEMORY", "There is not enough memory to complete this operation.",
     "Für diesen Vorgang ist nicht genügend Arbeitsspeicher vorhanden.", "Error message", ""},
    {"IDS_MSG_DISK_FULL", "The disk %1 is full.", "Der Datenträger %1 ist voll.", "Error message", "drive or volume name"},
    {"IDS_MSG_INVALID_NUMBER", "Please enter a number between %1 and %2.", "Bitte geben Sie eine Zahl zwischen %1 und %2 ein.",
     "Input check", "smallest value|largest value"},
    {"IDS_MSG_INVALID_NAME", "The name %1 contains characters that are not allowed.", "Der Name %1 enthält unzulässige Zeichen.",
     "Input check", "name as typed"},
    {"IDS_MSG_NAME_EXISTS", "A style named %1 already exists.", "Eine Formatvorlage mit dem Namen %1 ist bereits vorhanden.",
     "Styles dialog", "style name"},
    {"IDS_MSG_DELETE_STYLE", "Delete the style %1?", "Die Formatvorlage %1 löschen?", "Styles dialog", "style name"},
    {"IDS_MSG_SPELL_DONE", "The spelling check is complete.", "Die Rechtschreibprüfung ist abgeschlossen.", "Notice", ""},
    {"IDS_MSG_SPELL_NO_DICTIONARY", "No dictionary is installed for %1.", "Für %1 ist kein Wörterbuch installiert.",
     "Error message", "language name"},
    {"IDS_MSG_WORDS", "%1 words, %2 characters", "%1 Wörter, %2 Zeichen", "Word count result", "word count|character count"},
    {"IDS_MSG_MACRO_ERROR", "Macro %1 stopped in line %2:\n%3", "Das Makro %1 wurde in Zeile %2 angehalten:\n%3",
     "Error message of the macro interpreter", "macro name|line number|error text"},
    {"IDS_MSG_MACRO_SECURITY", "The document contains macros. Enable them?", "Das Dokument enthält Makros. Sollen sie aktiviert werden?",
     "Security question", ""},
    {"IDS_MSG_LINK_FAILED", "The link %1 could not be opened.", "Die Verknüpfung %1 konnte nicht geöffnet werden.",
     "Error message", "link address"},
    {"IDS_MSG_IMPORT_DONE", "%1 records were imported from %2.", "Aus %2 wurden %1 Datensätze importiert.",
     "Import result", "record count|file name"},
    {"IDS_MSG_EXPORT_DONE", "The document was exported to %1.", "Das Dokument wurde nach %1 exportiert.", "Export result",
     "file name"},
    {"IDS_MSG_AUTOSAVE", "The document was saved automatically at %1.", "Das Dokument wurde um %1 automatisch gespeichert.",
     "Status bar notice", "time of day"},
    {"IDS_MSG_RECOVERED", "%1 documents were recovered after an unexpected shutdown.",
     "Nach einem unerwarteten Beenden wurden %1 Dokumente wiederhergestellt.", "Notice at start", "document count"},
    {"IDS_MSG_UPDATE_AVAILABLE", "Version %1 is available. Download it now?", "Version %1 ist verfügbar. Jetzt herunterladen?",
     "Question", "version number"},
    {"IDS_MSG_UP_TO_DATE", "You are using the latest version.", "Sie verwenden die neueste Version.", "Notice", ""},
    {"IDS_MSG_CONNECTION", "The server %1 could not be reached.", "Der Server %1 ist nicht erreichbar.", "Error message",
     "server name"},
    {"IDS_MSG_TABLE_SIZE", "A table can have at most %1 columns.", "Eine Tabelle kann höchstens %1 Spalten haben.",
     "Input check", "column limit"},
    {"IDS_MSG_PICTURE_TOO_LARGE", "The picture %1 is larger than %2 MB.", "Die Grafik %1 ist zu groß.",
     "Error message", "file name|size limit in megabytes"},
    {"IDS_MSG_RESTART", "The changes take effect after a restart.", "Die Änderungen werden nach einem Neustart wirksam.",
     "Notice in the options dialog", ""},
    {"IDS_MSG_RESET_SETTINGS", "Reset all settings to their defaults?", "Alle Einstellungen auf die Standardwerte zurücksetzen?",
     "Question", ""},
    {"IDS_MSG_CLOSE_ALL", "Close all %1 windows?", "Alle %2 Fenster schließen?", "Question", "window count"},
    {"IDS_MSG_PAGE_OF", "Page %1 of %2", "Seite %1\tvon %2", "Status bar", "page number|page count"},
    {"IDS_MSG_LINE_COLUMN", "Ln %1, Col %2", "Z %1, Sp %2", "Status bar; keep it short", "line|column"},
    {"IDS_MSG_ZOOM", "Zoom: %d%%", "Zoom: %d %", "Status bar; a printf format (the zoom factor in percent)", ""},
    {"IDS_MSG_READY", "Ready", "Bereit", "Status bar", ""},
    {"IDS_MSG_LOADING", "Loading %1...", "%1 wird geladen", "Status bar", "file name"},
    {"IDS_MSG_SAVING", "Saving %1...", "%1 wird gespeichert...", "Status bar", "file name"},
    {"IDS_MSG_OVERTYPE", "OVR", "ÜB", "Status bar indicator, at most three letters", ""},
    {"IDS_MSG_UNTITLED", "Untitled %1", "Unbenannt %1", "Name of a new document", "sequence number"},
    {"IDS_MSG_MODIFIED", "%1 (modified)", "%1  (geändert)", "Window title", "document name"},
    {"IDS_MSG_CONFIRM_DELETE", "Delete %1 selected items?", "%1 ausgewählte Elemente löschen?", "Question", "item count"},
    {"IDS_MSG_RECYCLED", "%1 was moved to the recycle bin.", "%1 wurde in den Papierkorb verschoben.", "Notice", "file name"},
    {"IDS_MSG_PASSWORD_WRONG", "The password is incorrect. Please try again.",
     "Das Kennwort ist falsch. Bitte versuchen Sie es erneut.", "Sign-in dialog", ""},
    {"IDS_MSG_LICENCE_EXPIRES", "Your licence expires in %1 days.", "Ihre Lizenz läuft in %1 Tagen ab.", "Notice at start",
     "number of days|expiry date"},
    {"IDS_MSG_INTERNAL", "An internal error occurred (code %1).\nPlease report it to your administrator.",
     "Ein interner Fehler ist aufgetreten (Code %1).\nBitte melden Sie ihn Ihrem Administrator.", "Error message",
     "error code"},
    {"IDS_MSG_AUTOSAVE_FAILED", "The automatic backup of %1 failed.", "Die automatische Sicherung von %1 ist fehlgeschlagen.",
     "Status bar notice", "document name"},
    {"IDS_MSG_CLIPBOARD_EMPTY", "The clipboard is empty.", "The clipboard is empty.", "Notice", ""},
};

constexpr Text kDialogTexts[] = {
    {"IDS_DLG_OK", "OK", "OK", "Button", ""},
    {"IDS_DLG_CANCEL", "Cancel", "Abbrechen", "Button", ""},
    {"IDS_DLG_APPLY", "&Apply", "Ü&bernehmen", "Button", ""},
    {"IDS_DLG_HELP", "&Help", "&Hilfe", "Button", ""},
    {"IDS_DLG_CLOSE", "Close", "Schließen", "Button", ""},
    {"IDS_DLG_YES", "&Yes", "&Ja", "Button", ""},
    {"IDS_DLG_NO", "&No", "&Nein", "Button", ""},
    {"IDS_DLG_BROWSE", "&Browse...", "Durchsuchen...", "Button", ""},
    {"IDS_DLG_DEFAULTS", "Restore &Defaults", "&Standard wiederherstellen", "Button", ""},
    {"IDS_DLG_FILE_NAME", "File &name:", "Datei&name: ", "Label in the file dialogs", ""},
    {"IDS_DLG_FILE_TYPE", "Files of &type:", "Datei&typ:", "Label in the file dialogs", ""},
    {"IDS_DLG_LOOK_IN", "Look &in:", "&Suchen in:", "Label in the file dialogs", ""},
    {"IDS_DLG_FIND_WHAT", "Fi&nd what:", "&Suchen nach:", "Label in the Find dialog", ""},
    {"IDS_DLG_REPLACE_WITH", "Re&place with:", "&Ersetzen durch:", "Label in the Replace dialog", ""},
    {"IDS_DLG_MATCH_CASE", "Match &case", "&Groß-/Klein&schreibung beachten", "Check box", ""},
    {"IDS_DLG_WHOLE_WORD", "Find &whole words only", "Nur &ganze Wörter suchen", "Check box", ""},
    {"IDS_DLG_DIRECTION", "Direction", "Suchrichtung", "Group box", ""},
    {"IDS_DLG_UP", "&Up", "Nach &oben", "Option button", ""},
    {"IDS_DLG_DOWN", "&Down", "Nach &unten", "Option button", ""},
    {"IDS_DLG_REPLACE_ALL", "Replace &All", "&Alle ersetzen", "Button", ""},
    {"IDS_DLG_FONT", "&Font:", "&Schriftart:", "Label in the Font dialog", ""},
    {"IDS_DLG_FONT_STYLE", "Font st&yle:", "Schrifts&til:", "Label in the Font dialog", ""},
    {"IDS_DLG_SIZE", "&Size:", "&Größe:", "Label in the Font dialog", ""},
    {"IDS_DLG_PREVIEW", "Preview", "Vorschau", "Group box", ""},
    {"IDS_DLG_INDENT_LEFT", "&Left:", "&Links:", "Label in the Paragraph dialog", ""},
    {"IDS_DLG_INDENT_RIGHT", "&Right:", "&Rechts:", "Label in the Paragraph dialog", ""},
    {"IDS_DLG_LINE_SPACING", "Line &spacing:", "&Zeilenabstand:", "Label in the Paragraph dialog", ""},
    {"IDS_DLG_PRINTER", "&Printer:", "&Drucker:", "Label in the Print dialog", ""},
    {"IDS_DLG_COPIES", "Number of &copies:", "&Anzahl Exemplare:", "Label in the Print dialog", ""},
    {"IDS_DLG_PAGES", "Pa&ges:", "&Seiten:", "Label in the Print dialog", ""},
    {"IDS_DLG_ALL_PAGES", "&All", "&Alle", "Option button in the Print dialog", ""},
    {"IDS_DLG_CURRENT_PAGE", "Current pa&ge", "Aktuelle S&eite", "Option button in the Print dialog", ""},
    {"IDS_DLG_ORIENTATION", "Orientation", "Ausrichtung", "Group box in Page Setup", ""},
    {"IDS_DLG_PORTRAIT", "P&ortrait", "&Hochformat", "Option button in Page Setup", ""},
    {"IDS_DLG_LANDSCAPE", "L&andscape", "&Querformat", "Option button in Page Setup", ""},
    {"IDS_DLG_MARGINS", "Margins", "Seitenränder", "Group box in Page Setup", ""},
    {"IDS_DLG_PAPER_SIZE", "Paper si&ze:", "Papier&format:", "Label in Page Setup", ""},
    {"IDS_DLG_ROWS", "&Rows:", "&Zeilen:", "Label in the Insert Table dialog", ""},
    {"IDS_DLG_COLUMNS", "&Columns:", "&Spalten:", "Label in the Insert Table dialog", ""},
    {"IDS_DLG_TITLE_OPEN", "Open", "Öffnen", "Dialog title", ""},
    {"IDS_DLG_TITLE_SAVE_AS", "Save As", "Speichern unter", "Dialog title", ""},
    {"IDS_DLG_TITLE_FIND", "Find", "Suchen", "Dialog title", ""},
    {"IDS_DLG_TITLE_REPLACE", "Replace", "Ersetzen", "Dialog title", ""},
    {"IDS_DLG_TITLE_PRINT", "Print", "Drucken", "Dialog title", ""},
    {"IDS_DLG_TITLE_OPTIONS", "Options", "Optionen", "Dialog title", ""},
    {"IDS_DLG_USER_NAME", "&User name:", "&Benutzername:", "Label in the sign-in dialog", ""},
    {"IDS_DLG_PASSWORD", "&Password:", "&Kennwort:", "Label in the sign-in dialog", ""},
    {"IDS_DLG_REMEMBER", "&Remember me", "&Angemeldet bleiben", "Check box in the sign-in dialog", ""},
};

constexpr Text kLongTexts[] = {
    {"IDS_TEXT_ABOUT", "Demo Application\nVersion %1\n\nCopyright © 2024 The Demo Authors.\nAll rights reserved.",
     "Demo Application\nVersion %1\n\nCopyright © 2024 The Demo Authors.\nAlle Rechte vorbehalten.", "About box", "version number"},
    {"IDS_TEXT_WELCOME",
     "Welcome to Demo Application!\n\nTo start, create a new document or open an existing one.\nPress F1 at any time for help.",
     "Willkommen bei Demo Application!\n\nErstellen Sie zunächst ein neues Dokument oder öffnen Sie ein vorhandenes.\n"
     "Mit F1 erhalten Sie jederzeit Hilfe.",
     "Start page", ""},
    {"IDS_TEXT_TIP_DRAG", "Did you know?\nYou can drag a picture from the desktop straight into your document.",
     "Schon gewusst?\nSie können eine Grafik direkt vom Desktop in Ihr Dokument ziehen.", "Tip of the day", ""},
    {"IDS_TEXT_TIP_PAGE_BREAK", "Did you know?\nPress Ctrl+Enter to start a new page.",
     "Schon gewusst? Mit Strg+Eingabe beginnen Sie eine neue Seite.", "Tip of the day", ""},
    {"IDS_TEXT_TIP_SELECT", "Did you know?\nDouble-click a word to select it, triple-click to select the paragraph.",
     "Schon gewusst?\nEin Doppelklick markiert ein Wort, ein Dreifachklick den ganzen Absatz.", "Tip of the day", ""},
    {"IDS_TEXT_LICENCE", "This program is licensed to:\n%1\n%2", "Dieses Programm ist lizenziert für:\n%1\n%2",
     "About box", "user name|organisation"},
    {"IDS_TEXT_CRASH",
     "Demo Application has stopped working.\n\nA report was saved to %1.\nYour documents will be recovered the next time you start the program.",
     "Demo Application funktioniert nicht mehr.\n\nEin Bericht wurde unter %1 gespeichert.\n"
     "Ihre Dokumente werden beim nächsten Programmstart wiederhergestellt.",
     "Shown after a crash", "report file name"},
    {"IDS_TEXT_SHORTCUT_TABLE", "Ctrl+N\tNew document\nCtrl+O\tOpen\nCtrl+S\tSave\nCtrl+P\tPrint",
     "Strg+N\tNeues Dokument\nStrg+O\tÖffnen\nStrg+S\tSpeichern\nStrg+P\tDrucken",
     "Keyboard shortcut list; key and action are separated by a tab", ""},
    {"IDS_TEXT_FILE_COLUMNS", "Name\tSize\tType\tModified", "Name\tGröße\tTyp\tGeändert",
     "Column headings of the file list, separated by tabs", ""},
    {"IDS_TEXT_PRINT_HEADER", "%1\tPage %2\t%3", "%1\tSeite %2\t%3", "Page header when printing",
     "document name|page number|date"},
    {"IDS_TEXT_UPDATE_NOTES", "What's new in version %1:\n• Faster start\n• Improved printing\n• Many small fixes",
     "Neu in Version %1:\n• Schnellerer Start\n• Verbessertes Drucken\n• Viele kleine Korrekturen", "Update dialog",
     "version number"},
};

constexpr Text kListTexts[] = {
    {"IDS_APP_TITLE", "Demo Application", "Demo Application", "Product name; do not translate", ""},
    {"IDS_UNIT_CM", "cm", "cm", "Unit", ""},
    {"IDS_UNIT_INCH", "in", "Zoll", "Unit", ""},
    {"IDS_UNIT_POINT", "pt", "pt", "Unit", ""},
    {"IDS_LANG_ENGLISH", "English", "Englisch", "Language list", ""},
    {"IDS_LANG_GERMAN", "German", "Deutsch", "Language list", ""},
    {"IDS_LANG_FRENCH", "French", "Französisch", "Language list", ""},
    {"IDS_LANG_JAPANESE", "Japanese (日本語)", "Japanisch (日本語)", "Language list; keep the native name 日本語", ""},
    {"IDS_FILTER_DOCUMENTS", "Documents (*.dmd)", "Dokumente (*.dmd)", "File type filter", ""},
    {"IDS_FILTER_TEXT", "Text files (*.txt)", "Textdateien (*.txt)", "File type filter", ""},
    {"IDS_FILTER_PICTURES", "Pictures (*.png;*.jpg)", "Grafiken (*.png;*.jpg)", "File type filter", ""},
    {"IDS_FILTER_ALL", "All files (*.*)", "Alle Dateien (*.*)", "File type filter", ""},
    {"IDS_DAY_MONDAY", "Monday", "Montag", "Day name", ""},
    {"IDS_DAY_TUESDAY", "Tuesday", "Dienstag", "Day name", ""},
    {"IDS_DAY_WEDNESDAY", "Wednesday", "Mittwoch", "Day name", ""},
    {"IDS_DAY_THURSDAY", "Thursday", "Donnerstag", "Day name", ""},
    {"IDS_DAY_FRIDAY", "Friday", "Freitag", "Day name", ""},
    {"IDS_DAY_SATURDAY", "Saturday", "Samstag", "Day name", ""},
    {"IDS_DAY_SUNDAY", "Sunday", "Sonntag", "Day name", ""},
};

// Strings of the Japanese edition only; they have no German translation.
constexpr Text kJapaneseTexts[] = {
    {"IDS_JA_INPUT_MODE", "Input mode: %1", "", "Japanese edition: shows ひらがな, カタカナ or 半角", "input mode name"},
    {"IDS_JA_HIRAGANA", "Hiragana (ひらがな)", "", "Japanese edition: input mode", ""},
    {"IDS_JA_KATAKANA", "Katakana (カタカナ)", "", "Japanese edition: input mode", ""},
    {"IDS_JA_RUBY", "&Phonetic Guide (ルビ)...", "", "Japanese edition: Format menu item", ""},
    {"IDS_JA_VERTICAL", "&Vertical Text (縦書き)", "", "Japanese edition: Format menu item", ""},
};

// German texts stored with the English string's properties instead of their own: a line break
// and a tab where the string allows none, and one line where the English has two.
constexpr const char *kEnglishProperties[] = {"IDS_MSG_SAVE_FAILED", "IDS_MSG_PAGE_OF", "IDS_TEXT_TIP_PAGE_BREAK"};

// Local edits (source 0) over the German defaults, by symbol.
struct LocalEdit {
    const char *symbol;
    const char *german;
    bool current;    // revision equal to the English one; otherwise one below it
    bool approved;
};

constexpr LocalEdit kLocalEdits[] = {
    {"IDS_FILE_OPEN", "Ö&ffnen...\tStrg+O", true, true},                       // over an out-of-date default
    {"IDS_FILE_EXIT_PROMPT", "Beendet Demo Application", true, false},        // new wording, not yet approved
    {"IDS_EDIT_PASTE_SPECIAL", "Inhalte einf&ügen...", true, true},             // fills a missing translation
    {"IDS_MSG_SAVE_CHANGES", "Sollen die Änderungen an %1 gespeichert werden?", true, true},
    {"IDS_MSG_PRINTING", "Drucke Seite %1 von %2...", false, true},            // still behind the English text
    {"IDS_DLG_COPIES", "&Exemplare:", true, true},                             // over an out-of-date default
    {"IDS_TEXT_TIP_SELECT", "Schon gewusst?\nDoppelklick markiert ein Wort, Dreifachklick den Absatz.", true, false},
    {"IDS_DAY_FRIDAY", "Freitag", true, true},                                  // fills a missing translation
};

// English corrections waiting in source 2, by symbol.
struct EnglishEdit {
    const char *symbol;
    const char *english;
};

constexpr EnglishEdit kEnglishEdits[] = {
    {"IDS_FILE_EXIT_PROMPT", "Closes Demo Application"},
    {"IDS_MSG_OUT_OF_MEMORY", "Not enough memory is available to complete this operation."},
    {"IDS_DLG_WHOLE_WORD", "Match &whole words only"},
    {"IDS_TEXT_TIP_DRAG", "Did you know?\nYou can drag pictures from the desktop straight into a document."},
};

// The English some out-of-date translations were made from, before the English text of now
// replaced it: written first and then replaced by a Save, which keeps it as history, so the
// translate dialog can show what changed. One of each kind of change.
struct EarlierEnglish {
    const char *symbol;
    const char *english;
    int properties;   // toggled against the English of now
};

constexpr EarlierEnglish kEarlierEnglish[] = {
    {"IDS_MSG_DELETE_STYLE", "Do you want to delete the style %1?", 0},                  // words
    {"IDS_MSG_RESTART", "Changes take effect when the program is restarted.", 0},        // words
    {"IDS_MSG_CONNECTION", "The server %1 could not be reached!", 0},                   // punctuation
    {"IDS_EDIT_UNDO_PROMPT", "Undoes the last action.", 0},                               // punctuation
    {"IDS_DLG_COPIES", "&Number of copies:", 0},                                          // shortcut marker
    {"IDS_DLG_TITLE_SAVE_AS", "Save As", tpMultipleLines},                                // properties
};

struct DemoString {
    StringId id;
    QString symbol;
    QString english;
    QString german;
    QString description;
    QString parameters;
};

QString GermanKeys(const QString &accelerator)
{
    QString keys = accelerator;
    keys.replace(QLatin1String("Ctrl+"), QLatin1String("Strg+"));
    keys.replace(QLatin1String("Enter"), QLatin1String("Eingabe"));
    if (keys == QLatin1String("Del"))
        keys = QStringLiteral("Entf");
    return keys;
}

QString WithKeys(const char *caption, const QString &keys)
{
    const QString text = QString::fromUtf8(caption);
    return keys.isEmpty() ? text : text + QLatin1Char('\t') + keys;
}

QString PlainCaption(const char *caption)
{
    QString text = QString::fromUtf8(caption);
    text.remove(QLatin1Char('&'));
    if (text.endsWith(QLatin1String("...")))
        text.chop(3);
    return text;
}

// The title of the menu a command belongs to ("File" for FILE_OPEN): its description starts
// with it, which groups the menu's shortcuts.
QString MenuOf(const char *command)
{
    const QString prefix = QStringLiteral("IDS_MENU_") + QString::fromLatin1(command).section(QLatin1Char('_'), 0, 0);
    for (const Menu &m : kMenus)
        if (prefix == QLatin1String(m.symbol))
            return PlainCaption(m.english);
    return {};
}

std::vector<DemoString> DemoStrings()
{
    std::vector<DemoString> out;
    int n = 0;
    for (const Menu &m : kMenus)
        out.push_back({StringId(100 + n++), QString::fromLatin1(m.symbol), QString::fromUtf8(m.english),
                       QString::fromUtf8(m.german), QStringLiteral("Menu title: ") + PlainCaption(m.english), {}});
    n = 0;
    for (const Command &c : kCommands) {
        const QString symbol = QStringLiteral("IDS_") + QString::fromLatin1(c.symbol);
        const QString keys = QString::fromLatin1(c.accelerator);
        QString description = QStringLiteral("Menu %1: %2").arg(MenuOf(c.symbol), PlainCaption(c.english));
        if (symbol == QLatin1String("IDS_FILE_OPEN"))
            description += QStringLiteral(" (Japanese edition: 「開く」)");
        out.push_back({StringId(200 + n), symbol, WithKeys(c.english, keys), WithKeys(c.german, GermanKeys(keys)),
                       description, {}});
        out.push_back({StringId(600 + n), symbol + QStringLiteral("_PROMPT"), QString::fromUtf8(c.promptEnglish),
                       QString::fromUtf8(c.promptGerman),
                       QStringLiteral("Status bar prompt of the menu item ") + PlainCaption(c.english), {}});
        ++n;
    }
    const auto addTexts = [&out](const auto &table, int firstId) {
        int i = 0;
        for (const Text &t : table)
            out.push_back({StringId(firstId + i++), QString::fromLatin1(t.symbol), QString::fromUtf8(t.english),
                           QString::fromUtf8(t.german), QString::fromUtf8(t.description), QString::fromUtf8(t.parameters)});
    };
    addTexts(kMessages, 1000);
    addTexts(kDialogTexts, 2000);
    addTexts(kLongTexts, 3000);
    addTexts(kListTexts, 4000);
    addTexts(kJapaneseTexts, 5000);
    std::sort(out.begin(), out.end(), [](const DemoString &a, const DemoString &b) { return a.id < b.id; });
    return out;
}

// The properties a text implies: a '&' marker allows a shortcut (the marked character, mode
// "prefixed by '&'"), a tab allows tabs, a line break multiple lines.
Record RecordFor(const QString &text, const QString &description)
{
    Record r;
    r.text = text;
    r.hasText = true;
    r.description = description;
    static const QRegularExpression marker(QStringLiteral("&([^&])"));
    const QRegularExpressionMatch m = marker.match(QString(text).replace(QLatin1String("&&"), QLatin1String("  ")));
    if (m.hasMatch()) {
        r.properties |= tpAllowShortcut;
        r.shortcutCharacter = m.captured(1).toUpper();
        r.shortcutMode = 1;
    }
    if (text.contains(QLatin1Char('\t')))
        r.properties |= tpAllowTab;
    if (text.contains(QLatin1Char('\n')))
        r.properties |= tpMultipleLines;
    return r;
}

ParameterList ParametersOf(const QString &joinedDescriptions)
{
    ParameterList list;
    if (joinedDescriptions.isEmpty())
        return list;
    const QStringList descriptions = joinedDescriptions.split(QLatin1Char('|'));
    for (int i = 0; i < descriptions.size(); ++i)
        list.append(ParameterDefinition(i + 1, descriptions.at(i), QLatin1Char('%') + QString::number(i + 1)));
    return list;
}

void Fill(TableSet &set)
{
    const std::vector<DemoString> strings = DemoStrings();
    for (size_t n = 0; n < strings.size(); ++n) {
        const DemoString &s = strings[n];
        const int k = static_cast<int>(n % 25);
        Record english = RecordFor(s.english, s.description);
        english.revision = (k == 6 || k == 18 || k == 16) ? 2 : (k == 9 ? 3 : 1);
        english.status = sfApproved;
        set.PutRecord(s.id, ssEnglishDefault, english);
        set.setSymbol(s.id, s.symbol);
        set.setParameters(s.id, ParametersOf(s.parameters));

        if (s.german.isEmpty() || k == 3 || k == 13) {
            // Missing; some strings keep a record with only the description.
            const bool keepRecord = k == 13 || (s.german.isEmpty() && s.id % 2 == 0);
            if (keepRecord) {
                Record placeholder;
                placeholder.description = s.description;
                placeholder.revision = 0;
                set.PutRecord(s.id, ssLocalDefault, placeholder);
            }
            continue;
        }
        Record german = RecordFor(s.german, s.description);
        if (std::find_if(std::begin(kEnglishProperties), std::end(kEnglishProperties),
                         [&](const char *symbol) { return s.symbol == QLatin1String(symbol); })
            != std::end(kEnglishProperties))
            german.properties = english.properties;
        german.revision = (k == 6 || k == 18) ? 1 : (k == 9 ? 2 : english.revision);
        german.status = (k == 9 || k == 21) ? 0 : sfApproved;
        set.PutRecord(s.id, ssLocalDefault, german);
    }

    for (const LocalEdit &e : kLocalEdits) {
        const StringId id = set.IdOfSymbol(QString::fromLatin1(e.symbol));
        const std::optional<Record> english = set.RecordOf(id, ssEnglishDefault);
        Record local = RecordFor(QString::fromUtf8(e.german), english->description);
        local.revision = e.current ? english->revision : static_cast<qint16>(english->revision - 1);
        local.status = e.approved ? sfApproved : 0;
        set.PutRecord(id, ssLocalEdited, local);
    }
    for (const EnglishEdit &e : kEnglishEdits) {
        const StringId id = set.IdOfSymbol(QString::fromLatin1(e.symbol));
        const std::optional<Record> english = set.RecordOf(id, ssEnglishDefault);
        Record edited = RecordFor(QString::fromUtf8(e.english), english->description);
        edited.revision = english->revision;
        edited.status = sfApproved;
        set.PutRecord(id, ssEnglishEdited, edited);
    }
}

} // namespace

WorkspacePtr CreateDemoWorkspace(const QString &path, bool replace)
{
    WorkspaceInfo info;
    info.name = QStringLiteral("Demo Application");
    info.targetLanguage = QStringLiteral("de-DE");
    const auto fill = [](Workspace &workspace) {
        TableSet &set = *workspace.Set();
        Fill(set);
        std::vector<std::pair<StringId, Record>> now;
        for (const EarlierEnglish &e : kEarlierEnglish) {
            const StringId id = set.IdOfSymbol(QString::fromLatin1(e.symbol));
            const Record current = *set.RecordOf(id, ssEnglishDefault);
            now.emplace_back(id, current);
            Record earlier = RecordFor(QString::fromUtf8(e.english), current.description);
            earlier.properties ^= static_cast<quint8>(e.properties);
            earlier.status = current.status;
            earlier.revision = static_cast<qint16>(current.revision - 1);
            set.PutRecord(id, ssEnglishDefault, earlier);
        }
        set.Save(ssEnglishDefault, false);
        for (const auto &[id, record] : now)
            set.PutRecord(id, ssEnglishDefault, record);
        set.Save(ssEnglishDefault, false);
    };
    if (path.isEmpty()) {
        WorkspacePtr workspace = Workspace::CreateInMemory(info);
        fill(*workspace);
        return workspace;
    }

    // Made complete under a name of its own beside path, then moved into place in one step.
    const QString shown = QDir::toNativeSeparators(path);
    if (!replace && QFileInfo::exists(path))
        throw KvError(errFileAccess, QStringLiteral("Cannot write the demo workspace to \"%1\": the file exists").arg(shown));
    const QString part = QStringLiteral("%1.%2.part").arg(path).arg(QCoreApplication::applicationPid());
    QFile::remove(part);   // left by an earlier run of this process id that failed
    try {
        fill(*Workspace::Create(part, info));   // closed again, its log written into the file
        // rename() replaces a file in one step; QFile::rename never replaces one.
        QString failure;
        if (replace) {
            if (std::rename(QFile::encodeName(part).constData(), QFile::encodeName(path).constData()) != 0)
                failure = QString::fromLocal8Bit(std::strerror(errno));
        } else if (QFile file(part); !file.rename(path)) {
            failure = QFileInfo::exists(path) ? QStringLiteral("the file exists") : file.errorString();
        }
        if (!failure.isEmpty())
            throw KvError(errFileAccess, QStringLiteral("Cannot write the demo workspace to \"%1\": %2").arg(shown, failure));
    } catch (...) {
        QFile::remove(part);
        throw;
    }
    return Workspace::Open(path);
}

DemoStringCounts DemoCounts(TableVersion version)
{
    switch (version) {
    case ssLocalDefault: return {286, 258, 28, 61, 72};
    case ssLocalEdited: return {286, 260, 26, 58, 71};
    default: return {};
    }
}

} // namespace kvedit::server
