#pragma once

#include <string>

#include "tests/standins/discovery/library_model.h"

namespace ksp::standins {

// What the exports demand of their callers. Everything here runs inside a call, with the library
// locked; a demand that is not met becomes a misuse of that call and never ends the program.

void Blame(LibraryModel& library, const Note& note, std::string text);

// False, with a misuse, when the argument is null.
bool IsGiven(LibraryModel& library, const Note& note, const void* argument, const char* name);

// The stream of the call; null, with a misuse, when the library has none there.
Stream* UseStream(LibraryModel& library, const Note& note);
// The same, for what needs KSInitialize before it and no KSTerminate.
Stream* UseInitialisedStream(LibraryModel& library, const Note& note);
// The device of the call, on an initialised stream; completes the note with its address.
OpenDevice* UseDevice(LibraryModel& library, Note& note);
// False, with a misuse, when the call's object is no MIME utility.
bool UseMimeUtility(LibraryModel& library, const Note& note);

// Hands a text out as a buffer of the call's object and device; null when memory is short.
char* GiveText(Buffers& buffers, const Note& note, const std::string& text);
// Takes one of the buffers back.
void TakeBuffer(LibraryModel& library, Buffers& buffers, Note& note, const void* address);

}  // namespace ksp::standins
