package org.orderdesk.billing;

/**
 * Reminders follow an invoice after thirty days.
 *
 * - Dunning levels
 */
public interface Reminder {

   /** The level of the reminder, 1 to 3. */
   int level();

   default String text() {
      return switch (level()) {
         case 1 -> "Please pay.";
         case 2 -> "Second reminder.";
         default -> "Last reminder.";
      };
   }
}
