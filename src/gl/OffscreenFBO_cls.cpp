#include "gl/OffscreenFBO_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"

#define GL_GLEXT_PROTOTYPES 1
#include <GL/gl.h>
#include <GL/glext.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstring>

namespace
{
// The two families of entry points differ only in their names; the constants are the same.
struct FboFunctions {
    PFNGLGENFRAMEBUFFERSPROC gen;
    PFNGLDELETEFRAMEBUFFERSPROC del;
    PFNGLBINDFRAMEBUFFERPROC bind;
    PFNGLGENRENDERBUFFERSPROC genRb;
    PFNGLDELETERENDERBUFFERSPROC delRb;
    PFNGLBINDRENDERBUFFERPROC bindRb;
    PFNGLRENDERBUFFERSTORAGEPROC storage;
    PFNGLFRAMEBUFFERRENDERBUFFERPROC attach;
    PFNGLCHECKFRAMEBUFFERSTATUSPROC status;
};

const FboFunctions GCore = {glGenFramebuffers,     glDeleteFramebuffers,      glBindFramebuffer,
                            glGenRenderbuffers,    glDeleteRenderbuffers,     glBindRenderbuffer,
                            glRenderbufferStorage, glFramebufferRenderbuffer, glCheckFramebufferStatus};

template <typename T> bool Lookup(T& out, const char* name)
{
    // The EXT entry points are not part of the linked core library; whichever GL library the
    // process loaded (the window system's, or Mesa's off-screen one) offers them by name.
    out = reinterpret_cast<T>(dlsym(RTLD_DEFAULT, name));
    return out != nullptr;
}

// The EXT family, found at run time; false when the process has none of its entry points.
bool ExtFunctions(FboFunctions& f)
{
    return Lookup(f.gen, "glGenFramebuffersEXT") && Lookup(f.del, "glDeleteFramebuffersEXT") &&
           Lookup(f.bind, "glBindFramebufferEXT") && Lookup(f.genRb, "glGenRenderbuffersEXT") &&
           Lookup(f.delRb, "glDeleteRenderbuffersEXT") && Lookup(f.bindRb, "glBindRenderbufferEXT") &&
           Lookup(f.storage, "glRenderbufferStorageEXT") && Lookup(f.attach, "glFramebufferRenderbufferEXT") &&
           Lookup(f.status, "glCheckFramebufferStatusEXT");
}

const FboFunctions* GExt()
{
    static FboFunctions functions{};
    static const bool found = ExtFunctions(functions);
    return found ? &functions : nullptr;
}

bool HasExtension(const char* name)
{
    const auto* text = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    if (text == nullptr)
        return false;
    const size_t n = std::strlen(name);
    for (const char* p = std::strstr(text, name); p != nullptr; p = std::strstr(p + n, name))
        if ((p == text || p[-1] == ' ') && (p[n] == ' ' || p[n] == '\0'))
            return true;
    return false;
}

// 0: none, 1: core/ARB names, 2: EXT names.
int Family()
{
    int major = 0;
    const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    if (version == nullptr)
        return 0; // no context
    major = static_cast<int>(ParseLong(std::string(version, std::strcspn(version, "."))));
    if (major >= 3 || HasExtension("GL_ARB_framebuffer_object"))
        return 1;
    return HasExtension("GL_EXT_framebuffer_object") && GExt() != nullptr ? 2 : 0;
}

const FboFunctions& Functions(bool ext)
{
    return ext && GExt() != nullptr ? *GExt() : GCore;
}
} // namespace

OffscreenFBO_cls::~OffscreenFBO_cls()
{
    Release();
}

bool OffscreenFBO_cls::IsSupported()
{
    return Family() != 0;
}

int OffscreenFBO_cls::GetMaxSize()
{
    if (!IsSupported())
        return 0;
    GLint rb = 0;
    GLint vp[2] = {0, 0};
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &rb);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, vp);
    return std::max(0, std::min({static_cast<int>(rb), static_cast<int>(vp[0]), static_cast<int>(vp[1])}));
}

bool OffscreenFBO_cls::Create(int width, int height)
{
    Release();
    mStrError.clear();
    const int family = Family();
    if (family == 0) {
        mStrError = TrW("The graphics driver offers no off-screen framebuffers.");
        return false;
    }
    const int maxSize = GetMaxSize();
    if (width < 1 || height < 1 || width > maxSize || height > maxSize) {
        mStrError =
            WStrPrintf("%s %dx%d (1 .. %d)", Tr("Off-screen image size out of range:").c_str(), width, height, maxSize);
        return false;
    }
    while (glGetError() != GL_NO_ERROR) {
    }
    mbExt = family == 2;
    const FboFunctions& f = Functions(mbExt);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &miPrevious);
    GLuint ids[2] = {0, 0};
    GLuint fb = 0;
    f.gen(1, &fb);
    f.genRb(2, ids);
    muFramebuffer = fb;
    muColour = ids[0];
    muDepth = ids[1];
    f.bindRb(GL_RENDERBUFFER, muColour);
    f.storage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    f.bindRb(GL_RENDERBUFFER, muDepth);
    f.storage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
    f.bindRb(GL_RENDERBUFFER, 0);
    f.bind(GL_FRAMEBUFFER, muFramebuffer);
    f.attach(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, muColour);
    f.attach(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, muDepth);
    const GLenum status = f.status(GL_FRAMEBUFFER);
    const GLenum error = glGetError();
    if (status != GL_FRAMEBUFFER_COMPLETE || error != GL_NO_ERROR) {
        // Typically out of video memory for a very large picture.
        mStrError = WStrPrintf("%s %dx%d (0x%04x)", Tr("Cannot make an off-screen image of").c_str(), width, height,
                               status != GL_FRAMEBUFFER_COMPLETE ? status : error);
        Release();
        return false;
    }
    miWidth = width;
    miHeight = height;
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, width, height);
    return true;
}

bool OffscreenFBO_cls::Bind()
{
    if (muFramebuffer == 0)
        return false;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &miPrevious);
    if (miPrevious == static_cast<GLint>(muFramebuffer))
        miPrevious = 0;
    Functions(mbExt).bind(GL_FRAMEBUFFER, muFramebuffer);
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, miWidth, miHeight);
    return true;
}

void OffscreenFBO_cls::Unbind()
{
    if (muFramebuffer == 0)
        return;
    // Draw and read buffers are kept per framebuffer, so the window's come back with it.
    Functions(mbExt).bind(GL_FRAMEBUFFER, static_cast<GLuint>(miPrevious));
}

void OffscreenFBO_cls::Release()
{
    if (muFramebuffer == 0 && muColour == 0 && muDepth == 0)
        return;
    const FboFunctions& f = Functions(mbExt);
    GLint current = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &current);
    if (current == static_cast<GLint>(muFramebuffer))
        Unbind();
    const GLuint fb = muFramebuffer;
    const GLuint rbs[2] = {muColour, muDepth};
    if (fb != 0)
        f.del(1, &fb);
    f.delRb(2, rbs);
    muFramebuffer = muColour = muDepth = 0;
    miWidth = miHeight = 0;
}

bool OffscreenFBO_cls::ReadRGB(std::vector<uint8_t>& rgb)
{
    if (!Bind())
        return false;
    glFinish();
    std::vector<uint8_t> bottomUp(static_cast<size_t>(miWidth) * miHeight * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, miWidth, miHeight, GL_RGB, GL_UNSIGNED_BYTE, bottomUp.data());
    rgb.resize(bottomUp.size());
    const size_t row = static_cast<size_t>(miWidth) * 3;
    for (int y = 0; y < miHeight; ++y)
        std::copy_n(bottomUp.begin() + static_cast<long>(row * (miHeight - 1 - y)), row,
                    rgb.begin() + static_cast<long>(row * y));
    return glGetError() == GL_NO_ERROR;
}
