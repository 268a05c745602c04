#include "comms/Vec.h"

#include <utility>

namespace comms {

cMat4 operator*(const cMat4& a, const cMat4& b) {
  cMat4 product;
  for (int row = 0; row < 4; row++)
    for (int column = 0; column < 4; column++)
      product.m[row][column] = a.m[row][0] * b.m[0][column] + a.m[row][1] * b.m[1][column] + a.m[row][2] * b.m[2][column] +
                               a.m[row][3] * b.m[3][column];
  return product;
}

double Determinant3(const cMat4& a) {
  const double m00 = a.m[0][0], m01 = a.m[0][1], m02 = a.m[0][2];
  const double m10 = a.m[1][0], m11 = a.m[1][1], m12 = a.m[1][2];
  const double m20 = a.m[2][0], m21 = a.m[2][1], m22 = a.m[2][2];
  return m00 * (m11 * m22 - m12 * m21) - m01 * (m10 * m22 - m12 * m20) + m02 * (m10 * m21 - m11 * m20);
}

// Gauss-Jordan with row pivoting on the matrix beside the identity.
bool Invert(const cMat4& a, cMat4& inverse) {
  inverse = {};
  double rows[4][8] = {};
  for (int row = 0; row < 4; row++) {
    for (int column = 0; column < 4; column++) {
      if (!std::isfinite(a.m[row][column])) return false;
      rows[row][column] = a.m[row][column];
    }
    rows[row][4 + row] = 1;
  }
  for (int column = 0; column < 4; column++) {
    int pivot = column;
    for (int row = column + 1; row < 4; row++)
      if (std::fabs(rows[row][column]) > std::fabs(rows[pivot][column])) pivot = row;
    if (rows[pivot][column] == 0) return false;
    std::swap(rows[pivot], rows[column]);
    const double scale = 1 / rows[column][column];
    for (double& value : rows[column]) value *= scale;
    for (int row = 0; row < 4; row++) {
      if (row == column) continue;
      const double factor = rows[row][column];
      for (int k = 0; k < 8; k++) rows[row][k] -= factor * rows[column][k];
    }
  }
  cMat4 result;
  for (int row = 0; row < 4; row++)
    for (int column = 0; column < 4; column++) {
      result.m[row][column] = float(rows[row][4 + column]);
      if (!std::isfinite(result.m[row][column])) return false;
    }
  inverse = result;
  return true;
}

}  // namespace comms
