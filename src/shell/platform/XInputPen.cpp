#include "shell/platform/XInputPen.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XI2.h>
#include <X11/extensions/XInput2.h>

#include <algorithm>
#include <memory>

#include "comms/Log.h"

namespace {

bool g_HadFault = false;
int NoteFault(Display*, XErrorEvent*) {
  g_HadFault = true;
  return 0;
}

/// While it lives, refused requests are noted and do not end the process: a device may be unplugged between two requests.
class FaultGuard {
 public:
  explicit FaultGuard(Display* display) : m_Display(display) {
    XSync(display, 0);
    g_HadFault = false;
    m_Before = XSetErrorHandler(NoteFault);
  }
  ~FaultGuard() {
    XSync(m_Display, 0);
    XSetErrorHandler(m_Before);
  }
  FaultGuard(const FaultGuard&) = delete;
  FaultGuard& operator=(const FaultGuard&) = delete;
  bool HadFault() const {
    XSync(m_Display, 0);
    return g_HadFault;
  }

 private:
  Display* m_Display;
  XErrorHandler m_Before;
};

std::string ReadAtom(Display* display, Atom atom) {
  if (!atom) return {};
  char* name = XGetAtomName(display, atom);
  std::string text = name ? name : "";
  if (name) XFree(name);
  return text;
}

/// The word of the driver for the tool, where it gives one.
std::string ReadToolType(Display* display, int device) {
  const Atom property = XInternAtom(display, "Wacom Tool Type", 1);
  if (!property) return {};
  Atom type = 0;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  if (XIGetProperty(display, device, property, 0, 1, 0, XA_ATOM, &type, &format, &count, &left, &data) != Success || !data)
    return {};
  // XIGetProperty gives 32 bit items as 32 bits, not as longs.
  const Atom value = type == XA_ATOM && format == 32 && count == 1 ? *reinterpret_cast<const uint32_t*>(data) : 0;
  XFree(data);
  return ReadAtom(display, value);
}

void SelectEvents(Display* display, unsigned long window, int device, std::initializer_list<int> kinds) {
  unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
  for (const int kind : kinds) XISetMask(bits, kind);
  XIEventMask mask{device, int(sizeof(bits)), bits};
  XISelectEvents(display, window, &mask, 1);
}

void SetAxis(const XIValuatorClassInfo& valuator, PenAxis& axis) {
  if (axis.Index < 0) axis = {valuator.number, valuator.min, valuator.max};
}

}  // namespace

bool XInputPen::Open(void* display, unsigned long window, std::string& error) {
  Close();
  Display* x = static_cast<Display*>(display);
  int firstEvent, firstError, major = 2, minor = 2;
  if (!XQueryExtension(x, "XInputExtension", &m_Opcode, &firstEvent, &firstError)) {
    error = "the display has no XInput extension: pens work as mice, without pressure";
    return false;
  }
  const FaultGuard guard(x);
  if (XIQueryVersion(x, &major, &minor) != Success || guard.HadFault()) {
    error = "the display's XInput extension is older than 2.0: pens work as mice, without pressure";
    return false;
  }
  m_Display = display;
  m_Window = window;
  SelectEvents(x, DefaultRootWindow(x), XIAllDevices, {XI_HierarchyChanged});
  ListDevices();
  return true;
}

void XInputPen::Close() {
  if (!m_Display) return;
  Display* x = static_cast<Display*>(m_Display);
  {
    const FaultGuard guard(x);
    SelectEvents(x, DefaultRootWindow(x), XIAllDevices, {});
    for (const PenDevice& device : m_Pens.Devices()) SelectEvents(x, m_Window, device.Id, {});
  }
  m_Pens.SetDevices({});
  m_Display = nullptr;
}

std::vector<PenDevice> XInputPen::ReadDevices() const {
  Display* x = static_cast<Display*>(m_Display);
  int count = 0;
  const std::unique_ptr<XIDeviceInfo, void (*)(XIDeviceInfo*)> infos(XIQueryDevice(x, XIAllDevices, &count), XIFreeDeviceInfo);
  std::vector<PenDevice> devices;
  for (int i = 0; infos && i < count; ++i) {
    const XIDeviceInfo& info = infos.get()[i];
    if (!info.enabled || (info.use != XISlavePointer && info.use != XIFloatingSlave)) continue;
    PenDevice device;
    device.Id = info.deviceid;
    device.Name = info.name ? info.name : "";
    for (int k = 0; k < info.num_classes; ++k) {
      if (info.classes[k]->type != XIValuatorClass) continue;
      const XIValuatorClassInfo& valuator = *reinterpret_cast<const XIValuatorClassInfo*>(info.classes[k]);
      switch (FindPenAxisKind(ReadAtom(x, valuator.label))) {
        case PenAxisKind::Pressure:
          SetAxis(valuator, device.Pressure);
          break;
        case PenAxisKind::TiltX:
          SetAxis(valuator, device.TiltX);
          break;
        case PenAxisKind::TiltY:
          SetAxis(valuator, device.TiltY);
          break;
        case PenAxisKind::Other:
          break;
      }
    }
    if (!device.Pressure.IsUsable()) continue;
    const std::string toolType = ReadToolType(x, device.Id);
    if (!IsPenTool(toolType)) continue;
    device.IsEraser = IsEraserTool(device.Name, toolType);
    devices.push_back(device);
  }
  return devices;
}

void XInputPen::ListDevices() {
  Display* x = static_cast<Display*>(m_Display);
  const FaultGuard guard(x);
  std::vector<PenDevice> devices = ReadDevices();
  for (const PenDevice& device : devices) {
    if (!m_Pens.Has(device.Id)) comms::LogInfo("Pen: %s%s", device.Name.c_str(), device.IsEraser ? " (eraser)" : "");
    // The tool itself is asked and not the pointer that it moves: the pointer's own events stay with the mouse.
    SelectEvents(x, m_Window, device.Id, {XI_Motion, XI_ButtonPress, XI_ButtonRelease});
  }
  m_Pens.SetDevices(std::move(devices));
}

bool XInputPen::Handle(void* cookie, uint8_t modifiers, double nowSec, std::vector<InputEvent>& events) {
  const XGenericEventCookie& generic = *static_cast<const XGenericEventCookie*>(cookie);
  if (!m_Display || generic.extension != m_Opcode || !generic.data) return false;
  if (generic.evtype == XI_HierarchyChanged) {
    const XIHierarchyEvent& change = *static_cast<const XIHierarchyEvent*>(generic.data);
    constexpr int matters =
        XISlaveRemoved | XISlaveAdded | XISlaveAttached | XISlaveDetached | XIDeviceEnabled | XIDeviceDisabled;
    if (!(change.flags & matters)) return false;
    m_Pens.Release(nowSec, events);
    ListDevices();
    return true;
  }
  if (generic.evtype != XI_Motion && generic.evtype != XI_ButtonPress && generic.evtype != XI_ButtonRelease) return false;
  const XIDeviceEvent& report = *static_cast<const XIDeviceEvent*>(generic.data);
  if (!m_Pens.Has(report.deviceid)) return false;

  std::vector<std::pair<int, double>> values;
  const double* value = report.valuators.values;
  for (int i = 0; i < report.valuators.mask_len * 8; ++i)
    if (XIMaskIsSet(report.valuators.mask, i)) values.emplace_back(i, *value++);

  RawPenEvent raw;
  raw.What = generic.evtype == XI_Motion        ? RawPenEvent::Kind::Motion
             : generic.evtype == XI_ButtonPress ? RawPenEvent::Kind::Press
                                                : RawPenEvent::Kind::Release;
  raw.DeviceId = report.deviceid;
  raw.Button = report.detail;
  raw.X = report.event_x;
  raw.Y = report.event_y;
  raw.TimeSec = m_Clock.ToSeconds(uint32_t(report.time), nowSec);
  raw.Modifiers = modifiers;
  raw.Values = values;
  m_Pens.Translate(raw, events);
  m_RecentMs[m_RecentCount++ % std::size(m_RecentMs)] = uint32_t(report.time);
  return true;
}

bool XInputPen::IsShadow(uint32_t serverMs) const {
  // The server sends a tool's report first and then the pointer's, both with one time.
  const unsigned count = std::min<unsigned>(m_RecentCount, std::size(m_RecentMs));
  return std::find(m_RecentMs, m_RecentMs + count, serverMs) != m_RecentMs + count;
}
