// Lets a screen reader read labels whose text is a changing number: what it is, and the number.
#pragma once

/// For each `LineLabel` from now on: its name is its accessible name with its text, and its text is its value.
void InstallLineAccess();
