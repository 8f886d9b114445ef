import { formatRoute, navigate, parseRoute } from '../../app/route';

/** A call to be made once more. */
export interface Again {
  method: string;
  payload: unknown;
  /** What its client is called. */
  from: string;
}

const firstMethod = 'ITVGuide::query';
let again: Again | undefined;
let wantsFocus = false;

/** The address of a method's form, or of the messages; what they are filtered by stays in it. */
export function addressOf(method: string): string {
  const { params } = parseRoute(location.hash);
  params.set('call', method);
  return formatRoute('traffic', params);
}

/** Opens the form of a method that many try first. */
export function chooseCall(): void {
  again = undefined;
  go(firstMethod);
}

/** Opens the form of a call that has passed, filled in. */
export function callAgain(call: Again): void {
  again = call;
  go(call.method);
}

/** Opens the list of messages. */
export const showMessages = (): void => go('');

function go(method: string): void {
  wantsFocus = true;
  navigate(addressOf(method));
}

/** Whether what is there now was opened from the other, and is to have the focus; answered once. */
export function takeFocus(): boolean {
  const wanted = wantsFocus;
  wantsFocus = false;
  return wanted;
}

/** What the form of a method is to be filled with, where it was opened by callAgain(). */
export const againOf = (method: string): Again | undefined => (again?.method === method ? again : undefined);
