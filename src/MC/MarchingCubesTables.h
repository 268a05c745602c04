#pragma once
// The marching-cubes tables of Lorensen and Cline ("Marching Cubes: A High Resolution 3D Surface Construction Algorithm",
// SIGGRAPH 1987) in the form that Paul Bourke published ("Polygonising a scalar field", 1994), table data by Cory Gene Bloyd.
//
//        4 ----4---- 5          corners 0-3 run round z = 0: (0,0,0) (1,0,0) (1,1,0) (0,1,0), corners 4-7 above them;
//       /|          /|          edges 0-3 round z = 0, edges 4-7 round z = 1, edges 8-11 from corner i to i + 4
//      7 |         5 |
//     /  8        /  9          Bit i of a case is set when corner i is outside.
//    7 ----6---- 6   |
//    |   0 ---0--|-- 1
//   11  /       10  /
//    | 3         | 1
//    |/          |/
//    3 ----2---- 2
#include <array>
#include <cstdint>

/// Bit e: edge e joins corners on different sides.
extern const uint16_t edgeTable[256];
/// Edges of the triangles, three a triangle, ended by -1.
extern const int8_t triTable[256][16];
/// Triangle vertices of each case.
extern const uint8_t numVertsTable[256];
inline constexpr int8_t CornerOffset[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                              {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
inline constexpr int8_t EdgeCorners[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                                              {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
