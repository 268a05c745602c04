// Render targets.
#include <epoxy/gl.h>
#include <algorithm>

#include "comms/Log.h"
#include "comms/render/GlFormat.h"
#include "comms/render/cRenderGL.h"

namespace comms {

const cRenderGL::Target* cRenderGL::FindTarget(int id) const {
  return size_t(id) < m_Targets.size() && m_Targets[size_t(id)].Used ? &m_Targets[size_t(id)] : nullptr;
}

static GLenum DepthAttachment(TextureFormat format) {
  return format == TextureFormat::Depth24Stencil8 ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT;
}

bool cRenderGL::AttachBuffers(Target& target) {
  GlDebug::Attempt attempt(m_Debug);
  const auto make = [&](TextureFormat format, GLenum attachment, unsigned& object) {
    glGenRenderbuffers(1, &object);
    glBindRenderbuffer(GL_RENDERBUFFER, object);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, std::min(target.Desc.Samples, m_MaxSamples), GLenum(ToGl(format).Internal),
                                     target.Desc.Width, target.Desc.Height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, object);
  };
  make(target.Desc.ColorFormat, GL_COLOR_ATTACHMENT0, target.ColorBuffer);
  if (target.Desc.DepthFormat != TextureFormat::None)
    make(target.Desc.DepthFormat, DepthAttachment(target.Desc.DepthFormat), target.DepthBuffer);
  return attempt.TakeError() == GL_NO_ERROR;
}

// Joins the textures of the target, or buffers of many samples, into an object to draw into.
bool cRenderGL::BuildTarget(Target& target) {
  glGenFramebuffers(1, &target.Framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, target.Framebuffer);
  bool attached = true;
  if (target.Desc.Samples > 1) {
    attached = AttachBuffers(target);
  } else {
    GlDebug::Attempt attempt(m_Debug);
    const auto attach = [&](GLenum place, int texture) {
      if (const Texture* found = FindTexture(texture))
        glFramebufferTexture2D(GL_FRAMEBUFFER, place, GL_TEXTURE_2D, found->Object, 0);
    };
    attach(GL_COLOR_ATTACHMENT0, target.ColorTexture);
    attach(DepthAttachment(target.Desc.DepthFormat), target.DepthTexture);
    attached = attempt.TakeError() == GL_NO_ERROR;
  }
  const bool complete = attached && glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  BindTarget();
  return complete;
}

int cRenderGL::CreateTarget(const TargetDesc& desc) {
  if (desc.Width <= 0 || desc.Height <= 0 || desc.Width > m_MaxTargetSize || desc.Height > m_MaxTargetSize) {
    LogError("Can't make a render target of %d x %d pixels: 1 to %d a side are possible.", desc.Width, desc.Height,
             m_MaxTargetSize);
    return -1;
  }
  const auto slot = std::find_if(m_Targets.begin(), m_Targets.end(), [](const Target& t) { return !t.Used; });
  const int id = int(slot - m_Targets.begin());
  if (slot == m_Targets.end()) m_Targets.emplace_back();
  Target& target = m_Targets[size_t(id)];
  target.Desc = desc;
  target.Used = true;
  const auto makeTexture = [&](TextureFormat format) {
    Texture texture;
    texture.OfTarget = true;
    texture.Desc = {format, desc.Width, desc.Height, desc.Filter, AddressMode::Clamp};
    return UploadTexture(texture, nullptr) ? AddTexture(std::move(texture)) : -1;
  };
  bool made = true;
  if (desc.Samples <= 1) {
    target.ColorTexture = makeTexture(desc.ColorFormat);
    if (desc.DepthFormat != TextureFormat::None) target.DepthTexture = makeTexture(desc.DepthFormat);
    made = target.ColorTexture >= 0 && (desc.DepthFormat == TextureFormat::None || target.DepthTexture >= 0);
  }
  if (made && (!m_Loaded || BuildTarget(target))) return id;
  LogError("Can't make a render target of %d x %d pixels in format \"%s\" with depth \"%s\".", desc.Width, desc.Height,
           GetName(desc.ColorFormat), GetName(desc.DepthFormat));
  DeleteTarget(id);
  return -1;
}

void cRenderGL::SetTarget(int id) {
  m_CurrentTarget = FindTarget(id) ? id : -1;
  if (m_Loaded) BindTarget();
}
void cRenderGL::BindTarget() {
  const Target* target = FindTarget(m_CurrentTarget);
  glBindFramebuffer(GL_FRAMEBUFFER, target ? target->Framebuffer : 0);
}

int cRenderGL::GetTargetTexture(int id) const { return FindTarget(id) ? FindTarget(id)->ColorTexture : -1; }
int cRenderGL::GetTargetDepth(int id) const { return FindTarget(id) ? FindTarget(id)->DepthTexture : -1; }

void cRenderGL::ResolveTarget(int from, int to) {
  const Target *source = FindTarget(from), *target = FindTarget(to);
  if (!m_Loaded || !source || !target) return;
  glBindFramebuffer(GL_READ_FRAMEBUFFER, source->Framebuffer);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target->Framebuffer);
  const GLbitfield depth = source->Desc.DepthFormat == target->Desc.DepthFormat && source->Desc.DepthFormat != TextureFormat::None
                               ? GL_DEPTH_BUFFER_BIT
                               : 0;
  if (m_Scissor.Width >= 0) glDisable(GL_SCISSOR_TEST);  // it would cut the copy
  glBlitFramebuffer(0, 0, source->Desc.Width, source->Desc.Height, 0, 0, target->Desc.Width, target->Desc.Height,
                    GL_COLOR_BUFFER_BIT | depth, GL_NEAREST);
  if (m_Scissor.Width >= 0) glEnable(GL_SCISSOR_TEST);
  BindTarget();
}

bool cRenderGL::ReadTarget(int id, cImage& image) {
  if (!m_Loaded) return false;
  int width = State.ViewportWidth, height = State.ViewportHeight;
  GLuint framebuffer = 0;
  if (id != -1) {
    const Target* target = FindTarget(id);
    if (!target || target->Desc.ColorFormat != TextureFormat::Rgba8 || target->Desc.Samples > 1) return false;
    width = target->Desc.Width;
    height = target->Desc.Height;
    framebuffer = target->Framebuffer;
  }
  cImage read(width, height);
  GlDebug::Attempt attempt(m_Debug);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, read.Row(0));
  BindTarget();
  if (attempt.TakeError() != GL_NO_ERROR) return false;
  const size_t rowBytes = size_t(width) * 4;
  for (int top = 0, bottom = height - 1; top < bottom; top++, bottom--)  // OpenGL's first row is the lowest
    std::swap_ranges(read.Row(top), read.Row(top) + rowBytes, read.Row(bottom));
  image = std::move(read);
  return true;
}

void cRenderGL::DeleteTargetObjects(Target& target) {
  if (target.Framebuffer) glDeleteFramebuffers(1, &target.Framebuffer);
  if (target.ColorBuffer) glDeleteRenderbuffers(1, &target.ColorBuffer);
  if (target.DepthBuffer) glDeleteRenderbuffers(1, &target.DepthBuffer);
  target.Framebuffer = target.ColorBuffer = target.DepthBuffer = 0;
}

void cRenderGL::DeleteTarget(int id) {
  if (!FindTarget(id)) return;
  if (m_CurrentTarget == id) SetTarget(-1);
  Target& target = m_Targets[size_t(id)];
  if (m_Loaded) DeleteTargetObjects(target);
  DeleteTexture(target.ColorTexture);
  DeleteTexture(target.DepthTexture);
  target = {};
}

}  // namespace comms
