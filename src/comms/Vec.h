#pragma once
// Vectors, colours and matrices of the whole program. Plain aggregates of 32-bit floats, so that arrays of them can be written to
// files and handed to the render back end as they are.
#include <cmath>
#include <cstdint>

namespace comms {

struct cVec2 {
  float x = 0, y = 0;
  friend bool operator==(const cVec2&, const cVec2&) = default;
};

struct cVec3 {
  float x = 0, y = 0, z = 0;
  float& operator[](int i) { return (&x)[i]; }
  float operator[](int i) const { return (&x)[i]; }
  friend bool operator==(const cVec3&, const cVec3&) = default;
  friend cVec3 operator+(const cVec3& a, const cVec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend cVec3 operator-(const cVec3& a, const cVec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend cVec3 operator-(const cVec3& a) { return {-a.x, -a.y, -a.z}; }
  friend cVec3 operator*(const cVec3& a, float s) { return {a.x * s, a.y * s, a.z * s}; }
  friend cVec3 operator*(float s, const cVec3& a) { return a * s; }
  cVec3& operator+=(const cVec3& b) { return *this = *this + b; }
  cVec3& operator-=(const cVec3& b) { return *this = *this - b; }
  cVec3& operator*=(float s) { return *this = *this * s; }
};

inline float Dot(const cVec3& a, const cVec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline cVec3 Cross(const cVec3& a, const cVec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float Length(const cVec3& a) { return std::sqrt(Dot(a, a)); }
/// `a` at length 1; `fallback` where `a` has no length.
inline cVec3 Normalized(const cVec3& a, const cVec3& fallback = {0, 0, 0}) {
  const float length = Length(a);
  return length > 0 ? a * (1 / length) : fallback;
}
inline bool IsFinite(const cVec3& a) { return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z); }

struct cVec4 {
  float x = 0, y = 0, z = 0, w = 0;
  friend bool operator==(const cVec4&, const cVec4&) = default;
};

/// 0xAARRGGBB, blue in the low byte.
struct cColor {
  uint32_t Argb = 0;
};

/// Rotation about x, y and z, in degrees.
struct cAngles {
  float x = 0, y = 0, z = 0;
};

/// 4 by 4 floats, row vectors: p' = p * M, the translation stands in M[3][0..2] (element 12, 13, 14 of the flat form).
struct cMat4 {
  float m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  static cMat4 Scale(float s) { return {{{s, 0, 0, 0}, {0, s, 0, 0}, {0, 0, s, 0}, {0, 0, 0, 1}}}; }
  static cMat4 Translation(const cVec3& t) { return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {t.x, t.y, t.z, 1}}}; }

  cVec3 TransformPoint(const cVec3& p) const {
    return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0], p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
            p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]};
  }
  cVec3 TransformDirection(const cVec3& d) const {
    return {d.x * m[0][0] + d.y * m[1][0] + d.z * m[2][0], d.x * m[0][1] + d.y * m[1][1] + d.z * m[2][1],
            d.x * m[0][2] + d.y * m[1][2] + d.z * m[2][2]};
  }
  friend cMat4 operator*(const cMat4& a, const cMat4& b);
  friend bool operator==(const cMat4&, const cMat4&) = default;
};

/// Determinant of the upper 3 by 3, in double.
double Determinant3(const cMat4& a);
/// Inverse of an affine or projective matrix, computed in double. False and identity where it is singular or not finite.
bool Invert(const cMat4& a, cMat4& inverse);

}  // namespace comms
