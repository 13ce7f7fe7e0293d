package a.b;
@SuppressWarnings("unchecked")
public enum Color implements Supplier<String> {
  RED("r"), GREEN("g");
  private final String s;
  Color(String s) { this.s = s; }
  @Override public String get() { return s; }
}
sealed interface Shape permits Circle, Square {}
@interface Marker { String value() default ""; }
class Gen<K extends Comparable<K>, V> extends java.util.HashMap<K, V> {
  <R> List<R> map(Function<? super V, ? extends R> f) {
    return values().stream().map(x -> { return f.apply(x); }).collect(Collectors.toList());
  }
  String block() {
    String t = """
        Hello {
          "world" <b>
        """;
    switch (t) { case "a" -> { return "b"; } default -> { return t; } }
  }
  static int[] arr() { int[] a = {1, 2}; return a; }
  void lam() { Runnable r = () -> System.out.println("hi"); if (x) for (int i : a) if (y) g(); else h(); }
}
