#pragma once
// A project opened without a window for the export and render commands: the main controller
// with its slots, clock, lights and ray-tracer settings read from a .vsp file, the colour maps,
// and the scene objects hooked into the export driver.
//
// The project is read by LoadProjectHeadless alone (through the core's ProjectFile_cls).
#include "config/Main_cls.h"
#include "pov/PovSceneObjects_cls.h"

#include <memory>
#include <string>
#include <vector>

class CliProject_cls
{
  public:
    CliProject_cls();
    ~CliProject_cls();

    /// Reads a project through the core's project reader, with the camera of view panel 0 (or
    /// the saved camera) as the export's camera. False (with a message on stderr) when the file
    /// cannot be read.
    static bool LoadProjectHeadless(const std::wstring& path, Main_cls& main);
    /// LoadProjectHeadless into this object's controller, then the scene objects are hooked up.
    bool Load(const std::string& path);

    Main_cls& GetMain() { return *mpMain; }
    PovExport_cls& GetExport() { return mpMain->GetPovExport(); }
    PovRay_cls& GetPovRay() { return mpMain->GetPovExport().GetPovRay(); }

    /// "A:B" (or a single frame "A") into first and last; false when malformed or reversed.
    static bool ParseFrames(const std::string& text, int* first, int* last);
    /// Uses dir as working directory (created when missing) and, when the project names no
    /// picture folder, as that too. False with a message when it cannot be made.
    bool SetWorkDir(const std::string& dir);
    /// The frames an export covers: first..last as given, or (first < 0) the project's range
    /// under "PovRenderRegion=".
    void ResolveFrames(int* first, int* last) const;
    /// The files an export of frames first..last would write that exist already (the frames'
    /// .pov and .ini of every eye, and "RenderAnim.sh" when withScript).
    std::vector<std::string> ExistingOutputs(int first, int last, bool withScript) const;
    /// Exports frames first..last (every eye; first < 0: the project's range) with their
    /// command lists; with withScript also "RenderAnim.sh". False when the export failed or was
    /// declined.
    bool ExportFrames(int first, int last, bool withScript);
    /// Frame number of command i of the last export (commands go eye by eye, frame by frame).
    int GetCommandFrame(size_t i) const;

  private:
    std::unique_ptr<Main_cls> mpMain;
    std::unique_ptr<PovSceneObjects_cls> mpObjects;
    int miFirst = 0;
    int miLast = 0;
};
