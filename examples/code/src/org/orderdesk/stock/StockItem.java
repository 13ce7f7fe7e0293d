package org.orderdesk.stock;

import java.util.Map;
import java.util.TreeMap;
import java.util.function.Predicate;

/**
 * An item of the stock with its price in cents.
 */
public class StockItem implements Comparable<StockItem> {

   /** Where an item is kept. */
   public enum Place { SHELF, YARD, BACKORDER }

   private static final Map<String, StockItem> ITEMS = new TreeMap<>();
   private final String number;
   private final long price;
   Place place = Place.SHELF;

   public StockItem(String number, long price) {
      this.number = number;
      this.price = price;
      ITEMS.put(number, this);
   }

   @Override
   public int compareTo(StockItem other) {
      return number.compareTo(other.number);
   }

   public long price() {
      return price;
   }

   /** The items the test accepts, in number order. */
   static int count(Predicate<StockItem> test) {
      int n = 0;
      for (StockItem i : ITEMS.values())
         if (test.test(i))
            n++;
      return n;
   }

   String label() {
      return """
         Item %s
         """.formatted(number);
   }
}
