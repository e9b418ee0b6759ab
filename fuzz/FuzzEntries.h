#pragma once
// Entry points that feed one arbitrary byte string to one kind of reader. The libFuzzer targets
// call them for every generated input; the corpus replay test calls them for every stored case,
// so a finding once fixed stays fixed in the normal test run.
//
// Each entry returns 0 and aborts the process (through CheckOrAbort) when a reader breaks one of
// its promises: a result that differs from an independent decoding, a failure without a message,
// a resumed read that differs from an uninterrupted one, a text that does not survive being
// written and read again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The function type of an entry point.
using FuzzEntryFn = int (*)(const uint8_t* data, size_t size);

/// One fuzz target: its name (also the corpus folder name) and its entry point.
struct FuzzTarget {
    const char* pName;
    FuzzEntryFn fn;
};

/// Every target, in a fixed order.
const std::vector<FuzzTarget>& GetFuzzTargets();

/// A DF3 file: header and body through the resumable reader, with and without down-sizing.
int FuzzDf3File(const uint8_t* data, size_t size);
/// Configuration lines through a list holding every item type.
int FuzzConfigLines(const uint8_t* data, size_t size);
/// Project text through the data slots with their filter chains, the scene clock, the ray-tracer
/// settings, the camera, the custom colours and parameter sets.
int FuzzProjectText(const uint8_t* data, size_t size);
/// Key-frame text: a parameter set's block and single key lines.
int FuzzKeyFrameText(const uint8_t* data, size_t size);
/// One image file through the slice decoder and the image-stack frame reader.
int FuzzImageSlice(const uint8_t* data, size_t size);
/// A text volume through the resumable text reader.
int FuzzTextVolume(const uint8_t* data, size_t size);

/// Aborts with `what` on stderr when `ok` is false (a broken promise, reported as a crash).
void CheckOrAbort(bool ok, const char* what);
/// Names the input being run, so that a failed check says which stored case broke it.
void SetFuzzCaseName(const std::string& name);
