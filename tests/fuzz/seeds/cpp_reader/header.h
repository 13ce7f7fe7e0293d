/* file banner
   more */
#ifndef A_H
#define A_H
#include <vector>
// ----- banner
// -- kept
class X;
class A : public B, private C {
  friend class Y;
public:
  int f(int a, char* b);
};
typedef struct { int a; } Anon;
#define MAXV 10
#endif
