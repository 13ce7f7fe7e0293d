package org.orderdesk.billing;

import org.orderdesk.stock.StockItem;

/** One delivery: an item and how many of it. */
public record Delivery(StockItem item, int quantity) {
}
