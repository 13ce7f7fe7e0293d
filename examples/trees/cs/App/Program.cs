// The sheet printer: draws a few shapes on the console.
using System;
using System.Collections.Generic;
using Drawing.Shapes;

namespace Drawing.App
{
    public static class Program
    {
        static int runs;

        /// <summary>
        /// Draws the shapes of the demo sheet.
        /// </summary>
        /// <param name="args">not used</param>
        public static void Main(string[] args)
        {
            var shapes = new List<Shape> { new Circle(1.5), new Rect(2, 3) };
            var canvas = new TextCanvas();
            foreach (var s in shapes) s.Draw(canvas);
            Console.WriteLine("<done> '" + runs + "'");
        }
    }
}
