import { Shapes } from '../../parts/Shape';

export default function View() {
  return <Shapes count={8} />;
}
