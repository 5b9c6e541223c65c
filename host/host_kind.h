// What kind of application the host runs: desktop pictures are bitmap contexts, console and
// web pictures are true-colour images. Settled by the first open of a picture that the host
// lets the plug-in lock (pixels/picture_editor.cpp).
#pragma once

// Each goes from false to true at most once.
extern bool IsDesktop;
extern bool IsConsole;

// Asks the host which application class it runs and sets IsDesktop or IsConsole.
// Leaves both false when the host answers for none of them.
void DetectHostKind();
