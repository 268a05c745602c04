#include "comms/render/GlDebug.h"

#include <epoxy/gl.h>
#include <cstdlib>

#include "comms/Log.h"

namespace comms {

// A context that is gone may answer with an error for ever.
static constexpr int MaxErrorsAtOnce = 16;
// Some drivers put numbers into their messages; the log is not to drown in them.
static constexpr size_t MaxSaid = 64;

bool IsGlDebugWanted() {
#ifdef NDEBUG
  const char* wanted = std::getenv("MORVANE_GL_DEBUG");
  return wanted && cStr(wanted) == "1";
#else
  return true;
#endif
}

static void OnMessage(GLenum, GLenum type, GLuint, GLenum severity, GLsizei, const GLchar* message, const void* debug) {
  const bool isError = type == GL_DEBUG_TYPE_ERROR || type == GL_DEBUG_TYPE_UNDEFINED_BEHAVIOR;
  if (!isError && severity != GL_DEBUG_SEVERITY_HIGH) return;
  static_cast<GlDebug*>(const_cast<void*>(debug))->Note(isError, message);
}

void GlDebug::Start() {
  m_Reporting = IsGlDebugWanted() && (epoxy_gl_version() >= 43 || epoxy_has_gl_extension("GL_KHR_debug"));
  if (!m_Reporting) return;
  glEnable(GL_DEBUG_OUTPUT);
  glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
  glDebugMessageCallback(OnMessage, this);
}

void GlDebug::Stop() {
  if (m_Reporting) glDebugMessageCallback(nullptr, nullptr);
  m_Reporting = false;
}

void GlDebug::Note(bool isError, const cStr& text) {
  if (m_Attempts > 0) return;
  m_Errors += isError;
  if (m_Said.size() >= MaxSaid || !m_Said.insert(text).second) return;
  if (isError) {
    LogError("OpenGL: %s", text.c_str());
  } else {
    LogWarning("OpenGL: %s", text.c_str());
  }
}

void GlDebug::Poll() {
  for (int i = 0; i < MaxErrorsAtOnce; i++) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return;
    if (!m_Reporting) Note(true, Format("error 0x%04x", unsigned(error)));
  }
}

GlDebug::Attempt::Attempt(GlDebug& debug) : m_Debug(debug) {
  debug.Poll();
  debug.m_Attempts++;
}

unsigned GlDebug::Attempt::TakeError() {
  const unsigned first = glGetError();
  for (int i = 0; first != GL_NO_ERROR && i < MaxErrorsAtOnce && glGetError() != GL_NO_ERROR; i++) {
  }
  return first;
}

GlDebug::Attempt::~Attempt() {
  TakeError();
  m_Debug.m_Attempts--;
}

}  // namespace comms
