namespace app {
template <class T> class V : public B<T> {
};
template <class T> void V<T>::run() {
  auto l = [&](int x) { return x; };
  const char* r = R"x(a "{" )x";
}
}
typedef int (*cb)(int);
#ifdef _DEBUG
x();
#else
y();
#endif
void f() {
 EXEC SQL select a from t;
 throw CMyException("bad");
}
