#include "comms/render/EglContext.h"

#include <epoxy/egl.h>
#include <iterator>
#include <utility>

#include "comms/render/DeviceReport.h"
#include "comms/render/GlDebug.h"

namespace comms {

namespace {

struct Attempt {
  const char* Way;
  EGLDisplay Display;
};

// Devices first: they are the way to a real graphics card; Mesa lists its software renderer among them, at the end.
cList<Attempt> ListDisplays() {
  cList<Attempt> attempts;
  const bool platforms = epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_platform_base");
  if (platforms && epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_platform_device") &&
      (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_device_base") ||
       epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_device_enumeration"))) {
    EGLDeviceEXT devices[16];
    EGLint count = 0;
    if (eglQueryDevicesEXT(EGLint(std::size(devices)), devices, &count))
      for (EGLint i = 0; i < count; i++)
        attempts.push_back({"device", eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr)});
  }
  if (platforms && epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless"))
    attempts.push_back({"surfaceless", eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)});
  attempts.push_back({"default display", eglGetDisplay(EGL_DEFAULT_DISPLAY)});
  return attempts;
}

cStr EglFailure(const char* call) { return Format("%s failed with 0x%04x", call, unsigned(eglGetError())); }

}  // namespace

bool EglContext::Open(void* display, cStr& reason) {
  if (display == EGL_NO_DISPLAY) return reason = "there is none", false;
  if (!eglInitialize(display, nullptr, nullptr)) return reason = EglFailure("eglInitialize"), false;
  m_Display = display;
  if (!eglBindAPI(EGL_OPENGL_API)) return reason = EglFailure("eglBindAPI"), false;
  const EGLint configWanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint configCount = 0;
  if (!eglChooseConfig(display, configWanted, &config, 1, &configCount) || configCount < 1) {
    config = nullptr;
    if (!epoxy_has_egl_extension(display, "EGL_KHR_no_config_context"))
      return reason = "no frame buffer configuration for OpenGL", false;
  }
  const EGLint contextWanted[] = {EGL_CONTEXT_MAJOR_VERSION_KHR,
                                  3,
                                  EGL_CONTEXT_MINOR_VERSION_KHR,
                                  3,
                                  EGL_CONTEXT_OPENGL_PROFILE_MASK_KHR,
                                  EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT_KHR,
                                  EGL_CONTEXT_FLAGS_KHR,
                                  IsGlDebugWanted() ? EGL_CONTEXT_OPENGL_DEBUG_BIT_KHR : 0,
                                  EGL_NONE};
  m_Context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextWanted);
  if (!m_Context) {
    reason = EglFailure("eglCreateContext for OpenGL 3.3");
    // What there is in its place is told.
    m_Context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    if (m_Context && MakeCurrent()) {
      reason += ": " + DescribeCurrentDevice();
      reason.pop_back();  // its full stop
    }
    return false;
  }
  if (!epoxy_has_egl_extension(display, "EGL_KHR_surfaceless_context") && config) {
    const EGLint surfaceWanted[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
    m_Surface = eglCreatePbufferSurface(display, config, surfaceWanted);
  }
  return MakeCurrent() || (reason = EglFailure("eglMakeCurrent"), false);
}

bool EglContext::MakeCurrent() { return eglMakeCurrent(m_Display, m_Surface, m_Surface, m_Context); }

std::unique_ptr<EglContext> EglContext::Create(cStr& error) {
  if (!epoxy_has_egl()) {
    error = "Can't draw without a display: the library libEGL.so.1 is not installed.";
    return nullptr;
  }
  cStr reasons;
  for (const Attempt& attempt : ListDisplays()) {
    std::unique_ptr<EglContext> context(new EglContext);
    cStr reason;
    if (context->Open(attempt.Display, reason)) return context;
    reasons += (reasons.empty() ? "" : "; ") + cStr(attempt.Way) + ": " + reason;
  }
  error = "Can't draw without a display, no way to OpenGL 3.3 was found (" + reasons + ").";
  return nullptr;
}

// The display stays initialised: other contexts of the process may stand on the same one.
EglContext::~EglContext() {
  if (!m_Display) return;
  if (m_Context && eglGetCurrentContext() == m_Context) eglMakeCurrent(m_Display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  if (m_Surface) eglDestroySurface(m_Display, m_Surface);
  if (m_Context) eglDestroyContext(m_Display, m_Context);
}

// --- beside a window -----------------------------------------------------------------------------------------------------------

static WindowContext& GetWindowContext() {
  static WindowContext context;
  return context;
}

void SetWindowContext(WindowContext context) { GetWindowContext() = std::move(context); }

static void LeaveWindow() {
  if (GetWindowContext().Leave) GetWindowContext().Leave();
}

static void ReturnToWindow() {
  if (!GetWindowContext().Return) return;
  // Another library's context can't become current while EGL holds the thread. Where EGL is not installed it holds nothing, and a
  // call of it would end the program.
  if (epoxy_has_egl() && eglGetCurrentContext())
    eglMakeCurrent(eglGetCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  GetWindowContext().Return();
}

ContextTurn::ContextTurn() { LeaveWindow(); }
ContextTurn::~ContextTurn() { ReturnToWindow(); }

bool ContextTurn::Interrupt(EglContext& context, const std::function<void()>& work) {
  ReturnToWindow();
  work();
  LeaveWindow();
  return context.MakeCurrent();
}

}  // namespace comms
