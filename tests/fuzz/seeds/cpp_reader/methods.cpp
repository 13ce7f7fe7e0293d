#include "a.h"
static int counter = 0;
int A::f(int a, // first
         char* b /* second */)
{
  ASSERT(a > 0);
  if (a) { return 1; }
  LoadLibrary("foo.dll");
  return 0;
}
int A::f(void) {
#ifdef _DEBUG
  dbg();
#else
  rel();
#endif
  return 2;
}
STDMETHODIMP_(ULONG) CFoo::AddRef() { return 1; }
int main(int argc, char** argv) { return 0; }
