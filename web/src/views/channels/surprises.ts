/** Something that the module does on purpose and nobody expects. */
export interface Surprise {
  /** Its entry in docs/oddities.md. */
  title: string;
  text: string;
}

export const surprises = {
  whence: {
    title: 'Lock left held',
    text: 'A whence is 0, 1 or 2. Any other is refused as an invalid parameter, and the module forgets to unlock its list on the way out. The platform takes the lock away when the call is over, so nobody waits: the next call works as ever.',
  },
  limit: {
    title: 'A limit that wraps',
    text: 'The limit is added to the cursor in 32 bits. With the cursor at 5, the largest limit, 4294967295, ends at 4, which is before the cursor: nothing comes. At the start of the list the same limit gives everything.',
  },
  read: {
    title: 'Cursor moved outside the lock',
    text: 'Reading takes the services under the lock and moves the cursor behind them after it is released. As a cursor has one owner, and calls take turns, that never shows.',
  },
  remove: {
    title: 'Delete without the lock',
    text: 'Deleting is the one operation that takes no lock. Afterwards the cursor keeps its number and so stands before the service that came next. In the list of the latest scan, and at the end, it is refused.',
  },
  uri: {
    title: 'Two dots in the URI',
    text: 'Between the dots the number of the transport stream is left out, so that a service keeps its URI when it moves to another multiplex. URIs are compared letter by letter: capitals find nothing.',
  },
  id: {
    title: 'The first one gets the guide',
    text: 'Events are found by this number. Of two services that broadcast under the same DVB service id only the first has the guide’s number; the other is numbered as one that has no events.',
  },
  context: {
    title: 'Deleting a context ends the scan',
    text: 'The cursor lives in a context that this view alone uses. It is never deleted, as deleting any context would end a running scan for everybody; the service lets go of it some time after this page is closed.',
  },
} satisfies Readonly<Record<string, Surprise>>;

export type SurpriseName = keyof typeof surprises;
