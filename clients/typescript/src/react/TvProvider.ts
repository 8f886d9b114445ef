// SPDX-License-Identifier: Apache-2.0

import { createContext, createElement, type ReactElement, type ReactNode, useContext } from 'react';
import type { Tv } from '../Tv.js';
import { Store } from './Store.js';

const StoreContext = createContext<Store | undefined>(undefined);

/** One for each connection, for as long as that is there. */
const stores = new WeakMap<Tv, Store>();

function storeOf(tv: Tv): Store {
  let store = stores.get(tv);
  if (store === undefined) stores.set(tv, (store = new Store(tv)));
  return store;
}

/**
 * Lets the components inside use a connection, by the hooks.
 *
 * The connection is made outside of React, once, and is yours to close: `const tv = new Tv(url)`.
 */
export function TvProvider({ tv, children }: { tv: Tv; children?: ReactNode }): ReactElement {
  return createElement(StoreContext, { value: storeOf(tv) }, children);
}

export function useStore(): Store {
  const store = useContext(StoreContext);
  if (store === undefined) throw new Error('there is no <TvProvider> around this component');
  return store;
}
