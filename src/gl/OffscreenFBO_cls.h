#pragma once
// A framebuffer object of any size (up to the driver's limit) with colour and depth
// renderbuffers: the preview is drawn into it exactly as into a window, then read back. Works
// with the ARB/core framebuffer objects or the older EXT extension, whichever the driver has;
// where it has neither, Create() fails with a message and the caller falls back to the window.
// All calls need a GL context current (GUI thread).
#include <cstdint>
#include <string>
#include <vector>

class OffscreenFBO_cls
{
  public:
    OffscreenFBO_cls() = default;
    /// Frees the GL objects (the context that made them must be current).
    ~OffscreenFBO_cls();
    OffscreenFBO_cls(const OffscreenFBO_cls&) = delete;
    OffscreenFBO_cls& operator=(const OffscreenFBO_cls&) = delete;

    /// True when the current context offers framebuffer objects.
    static bool IsSupported();
    /// Largest width and height a buffer may have in the current context (0 without support).
    static int GetMaxSize();

    /// Makes a width x height buffer and binds it for drawing and reading (the viewport is set
    /// to cover it). False, with GetErrorText() telling why, when the driver has no framebuffer
    /// objects, the size is out of range or the buffer is incomplete; nothing stays bound then.
    bool Create(int width, int height);
    /// Binds the buffer again (after Unbind); false when there is none.
    bool Bind();
    /// Returns drawing to the framebuffer that was bound before Create/Bind.
    void Unbind();
    /// Frees the buffer (also done by the destructor).
    void Release();
    bool IsCreated() const { return muFramebuffer != 0; }
    int GetWidth() const { return miWidth; }
    int GetHeight() const { return miHeight; }
    /// Reads the buffer as RGB rows from top to bottom (binds it for the read).
    bool ReadRGB(std::vector<uint8_t>& rgb);
    /// Why the last Create failed (translated, for the user).
    const std::wstring& GetErrorText() const { return mStrError; }

  private:
    unsigned muFramebuffer = 0;
    unsigned muColour = 0;
    unsigned muDepth = 0;
    int miPrevious = 0;
    int miWidth = 0;
    int miHeight = 0;
    bool mbExt = false; ///< made through the EXT entry points
    std::wstring mStrError;
};
