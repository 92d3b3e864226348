#pragma once

namespace kvedit::app {

// kvedit [WORKSPACE] [--table 0..3] [--screenshot FILE.png]
// Exit codes: 0 done (also when nothing was saved), 1 the workspace could not be opened or the
// screenshot not written, 2 usage or no display.
int RunEditor(int argc, char **argv);

} // namespace kvedit::app
