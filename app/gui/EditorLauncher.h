#pragma once

namespace kvedit::app {

// kvedit [WORKSPACE] [--table 0..3] [--memory FILE.kvw]... [--screenshot FILE.png [--size WxH]]
// Without a workspace, the demo workspace kept in the user's data folder is opened (made on
// first use). Exit codes: 0 done (also when nothing was saved), 1 the workspace could not be
// opened or the screenshot not written, 2 usage, or no display for an otherwise right request.
int RunEditor(int argc, char **argv);

} // namespace kvedit::app
