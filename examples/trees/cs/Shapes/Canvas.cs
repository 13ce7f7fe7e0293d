namespace Drawing.Shapes;

public interface ICanvas
{
    void Text(string line);
}

public record Point(int X, int Y);

public class TextCanvas : ICanvas
{
    private readonly List<Dictionary<string, int>> marks = new();
    private int lines;

    public void Text(string line)
    {
        lines++;
        Console.WriteLine(line.Length < 80 ? line : line.Substring(0, 80));
    }

    public static T First<T>(IEnumerable<T> items) where T : class
    {
        foreach (var i in items) return i;
        return null;
    }

    int Hidden() { return lines; }
}
