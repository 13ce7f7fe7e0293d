using System;
using System.Collections.Generic;

namespace Drawing.Shapes
{
    /// <summary>
    /// The common face of everything that can be drawn on a sheet.
    /// </summary>
    public interface IDrawable
    {
        void Draw(ICanvas canvas);
    }

    /// <summary>
    /// A figure with an area and a name.
    /// </summary>
    [Serializable]
    public abstract class Shape : IDrawable
    {
        #region Fields
        private string name;
        protected int layer = 0;
        #endregion

        protected Shape(string name) { this.name = name; }

        public string Name { get { return name; } }

        /// <summary>
        /// The area in square units.
        /// </summary>
        /// <returns>never negative</returns>
        public abstract double Area();

        public virtual void Draw(ICanvas canvas)
        {
            canvas.Text($"{Name}: {Area():F2}");
        }
    }

    public class Circle : Shape
    {
        private readonly double r;

        /// <param name="r">the radius</param>
        public Circle(double r) : base("circle") { this.r = r; }

        public override double Area() => Math.PI * r * r;
    }

    public sealed class Rect : Shape, IComparable<Rect>
    {
        public double W { get; set; }
        public double H { get; set; }

        public Rect(double w, double h) : base(@"rect ""plain""") { W = w; H = h; }

        public override double Area() { return W * H; }

        public int CompareTo(Rect other) => Area().CompareTo(other.Area());
    }
}
