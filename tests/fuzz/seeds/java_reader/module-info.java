module a.b {
  requires java.base;
  exports a.b;
}
