namespace N;
[Attr] public record R(int A);
public class C<T> : B where T : class {
  public int P { get; set; }
  public static void Main() { var s = $"{1}" + @"x""y" + """raw"""; }
  #region r
  /// <summary>
  /// doc
  /// </summary>
  #endregion
}
