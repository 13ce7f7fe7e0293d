/*
 * Copyright 2026 the order desk sample.  Written for brelmot's examples.
 */
package org.orderdesk.billing;

import java.util.ArrayList;
import java.util.List;
import org.orderdesk.stock.StockItem;

/*------------------------------------------------------------------- */

/**
 * The nightly run that turns the day's deliveries into invoices.
 *
 * - Invoices are never changed after they went out.
 * @see Reminder
 */
public class InvoiceRun extends BillingJob implements Runnable {

   private final List<Invoice> invoices = new ArrayList<>();
   int runs;

   /** A run for the given day. */
   public InvoiceRun(String day) {
      super(day);
   }

   /* An invoice for each delivery of the day. */
   public void run() {
      for (Delivery d : deliveries())
         invoices.add(new Invoice(d));
      if (invoices.isEmpty())
         return;
      else
         runs++;
      // System.out.println("invoices: " + invoices.size());
   }

   // The sum of the day, braces "{" and '}' in text are text.
   long total() {
      long sum = 0;
      for (Invoice i : invoices) {
         sum += i.amount();
      }
      return sum;
   }

   /* START OF PROTECTED REGION */
   // insert custom code [  -- rounding rules of the customer
   long rounded(long cents) {
      return (cents + 50) / 100 * 100;
   }
   /* END OF PROTECTED REGION */

   /** The invoice of one delivery. */
   static class Invoice {
      private final Delivery delivery;

      Invoice(Delivery d) {
         delivery = d;
      }

      long amount() {
         return delivery.quantity() * delivery.item().price();
      }
   }

   public static void main(String[] args) {
      new InvoiceRun(args.length > 0 ? args[0] : "today").run();
   }
}
